#include "util/qu_named_file.h"

#include "support/test.h"

namespace qrd::test {
namespace {

constexpr named_file_kind kind = {"X.", "damaged", "full"};

// While one file is looked at, the other one moves from where the listing has seen it.
TEST(named_file, finds_what_moves_meanwhile) {
  temporary_directory folder;
  for (const char* name : {"a", "b"})
    write_file(folder / (std::string("X.") + name), bytes().i32(520).text(name));
  std::multiset<std::string> seen;
  bool moved = false;
  const auto visit = [&](named_file& file) {
    seen.insert(file.name);
    const std::string other = folder / (file.name[0] == 'a' ? "X.b" : "X.a");
    if (!moved) fs::rename(other, folder / "X.7");
    moved = true;
    return false;
  };
  EXPECT_EQ(qu_named_file_scan(folder.path().c_str(), kind, visit, [&] { seen.clear(); }),
            named_search::ended);
  EXPECT_EQ(seen, (std::multiset<std::string>{"a", "b"}));
}

TEST(named_file, has_one_of_999_numbers) {
  temporary_directory folder;
  for (int number = 0; number < 998; ++number) write_file(folder / ("X." + std::to_string(number)), "");
  const auto put = [&] {
    return qu_named_file_put(folder.path().c_str(), kind, nullptr,
                             [](std::FILE* stream) { return std::fputs("last", stream) >= 0; });
  };
  EXPECT_TRUE(put());
  EXPECT_EQ(read_file(folder / "X.998"), "last");
  const std::string console = console_of([&] { EXPECT_FALSE(put()); });
  EXPECT_TRUE(console.starts_with("full\n")) << console;
  EXPECT_FALSE(fs::exists(folder / "X.999"));
}

}  // namespace
}  // namespace qrd::test
