#include "util/qu_file_replace.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/bytes.h"
#include "support/temporary_directory.h"

namespace qrd {
namespace {

namespace fs = std::filesystem;

class replacement : public testing::Test {
 protected:
  bool replace(const std::string& name, const char* text, bool commit = true) {
    replaced_file file((folder / name).c_str(), write_text);
    if (!file) return false;
    std::fputs(text, file.get());
    return commit && file.commit();
  }
  std::ptrdiff_t file_count() { return std::distance(fs::directory_iterator(folder.path()), {}); }
  test::temporary_directory folder;
};

TEST_F(replacement, keeps_the_old_file_until_it_is_committed) {
  test::write_file(folder / "a", "old");
  EXPECT_FALSE(replace("a", "new", false));
  EXPECT_EQ(test::read_file(folder / "a"), "old");
  EXPECT_TRUE(replace("a", "new"));
  EXPECT_EQ(test::read_file(folder / "a"), "new");
  EXPECT_TRUE(replace("b", "first"));
  EXPECT_EQ(test::read_file(folder / "b"), "first");
  EXPECT_EQ(file_count(), 2);
}

TEST_F(replacement, keeps_rights_and_links) {
  test::write_file(folder / "a", "old");
  fs::permissions(folder / "a", fs::perms(0640));
  fs::create_symlink("a", folder / "link");
  EXPECT_TRUE(replace("link", "new"));
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(test::read_file(folder / "a"), "new");
  EXPECT_EQ(fs::status(folder / "a").permissions(), fs::perms(0640));
}

TEST_F(replacement, leaves_what_is_no_file) {
  fs::create_directory(folder / "a");
  EXPECT_FALSE(replace("a", "new"));
  EXPECT_TRUE(fs::is_directory(folder / "a"));
  EXPECT_FALSE(replace("gone/a", "new"));
  EXPECT_EQ(file_count(), 1);
}

}  // namespace
}  // namespace qrd
