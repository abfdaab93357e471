#include "util/qu_named_file.h"

#include <gtest/gtest.h>

#include <set>

#include "support/bytes.h"
#include "support/temporary_directory.h"

namespace qrd::test {
namespace {

namespace fs = std::filesystem;

constexpr named_file_kind kind = {"X.", "damaged", "full"};

// While one file is looked at, the other one moves from where the listing has seen it.
TEST(named_file, finds_what_moves_meanwhile) {
  temporary_directory folder;
  for (const char* name : {"a", "b"})
    write_file(folder / (std::string("X.") + name), bytes().i32(520).text(name).str());
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

}  // namespace
}  // namespace qrd::test
