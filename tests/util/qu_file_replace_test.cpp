#include "util/qu_file_replace.h"

#include "support/test.h"
#include "util/qu_set_aside.h"

namespace qrd::test {
namespace {

struct replacement : testing::Test {
  bool replace(const std::string& name, const char* text, bool commit = true) {
    replaced_file file((folder / name).c_str(), write_text);
    if (!file) return false;
    std::fputs(text, file.get());
    return commit && file.commit();
  }
  static ino_t inode(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
  }
  std::ptrdiff_t file_count() { return std::distance(fs::directory_iterator(folder.path()), {}); }
  temporary_directory folder;
};

TEST_F(replacement, keeps_the_old_file_until_it_is_committed) {
  write_file(folder / "a", "old");
  EXPECT_FALSE(replace("a", "new", false));
  EXPECT_EQ(read_file(folder / "a"), "old");
  EXPECT_TRUE(replace("a", "new"));
  EXPECT_EQ(read_file(folder / "a"), "new");
  EXPECT_TRUE(replace("b", "first"));
  EXPECT_EQ(read_file(folder / "b"), "first");
  EXPECT_EQ(file_count(), 2);
}

TEST_F(replacement, keeps_rights_and_links) {
  write_file(folder / "a", "old");
  fs::permissions(folder / "a", fs::perms(0640));
  fs::create_symlink("a", folder / "link");
  EXPECT_TRUE(replace("link", "new"));
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(read_file(folder / "a"), "new");
  EXPECT_EQ(fs::status(folder / "a").permissions(), fs::perms(0640));
}

TEST_F(replacement, leaves_what_is_no_file) {
  fs::create_directory(folder / "a");
  EXPECT_FALSE(replace("a", "new"));
  EXPECT_TRUE(fs::is_directory(folder / "a"));
  EXPECT_FALSE(replace("gone/a", "new"));
  EXPECT_EQ(file_count(), 1);
}

TEST_F(replacement, fails_behind_a_link_that_leads_nowhere) {
  fs::create_symlink("mount/a", folder / "link");
  EXPECT_FALSE(replace("link", "new"));
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(file_count(), 1);
}

TEST_F(replacement, in_a_folder_that_nobody_sees_has_its_own_name_from_the_start) {
  const std::string made = folder / "made";
  fs::create_directory(made);
  write_file(made + "/old", "old");
  const auto names = [&made] {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(made)) found.insert(entry.path().filename());
    return found;
  };
  {
    const unseen_folder unseen(made.c_str());
    const replaced_file dropped((made + "/dropped").c_str(), write_text);
    EXPECT_TRUE(dropped);
    EXPECT_EQ(names(), (std::set<std::string>{"dropped", "old"}));
    // A link that somebody has planted there isn't followed.
    fs::create_symlink("elsewhere", made + "/dangling");
    EXPECT_FALSE(replace("made/dangling", "new"));
    EXPECT_TRUE(replace("made/new", "new"));
    EXPECT_TRUE(replace("made/old", "newer"));
  }
  EXPECT_EQ(names(), (std::set<std::string>{"dangling", "new", "old"}));
  EXPECT_EQ(read_file(made + "/new") + read_file(made + "/old"), "newnewer");
  const replaced_file beside((made + "/beside").c_str(), write_text);
  EXPECT_FALSE(names().contains("beside"));
}

TEST_F(replacement, of_nothing_leaves_what_another_has_made) {
  replaced_file file((folder / "a").c_str(), write_binary);
  std::fputs("mine", file.get());
  write_file(folder / "a", "theirs");
  EXPECT_FALSE(file.commit_new());
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(read_file(folder / "a"), "theirs");
}

// A file that is a mount of its own can't be renamed over, a folder of others takes no new file.
TEST_F(replacement, is_written_in_place_where_the_folder_forbids_it) {
  const std::string path = folder / "a";
  write_file(path, "the old content");
  auto in_child = [&] {
    constexpr uid_t nobody = 65534;
    fs::permissions(path, fs::perms(0666));
    fs::permissions(folder.path(), fs::perms(0755));
    if (setuid(nobody) != 0) _exit(2);
    const ino_t before = inode(path);
    if (!replace("a", "new") || inode(path) != before) _exit(3);
    if (replace("b", "new")) _exit(4);
    // A full disk is no reason to write in place.
    file_size_limit disk(2);
    _exit(replace("a", "longer") ? 5 : 0);
  };
  if (geteuid() != 0) GTEST_SKIP() << "needs to become somebody else";
  EXPECT_EXIT(in_child(), testing::ExitedWithCode(0), "");
  EXPECT_EQ(read_file(path), "new");
  EXPECT_EQ(file_count(), 1);
}

TEST_F(replacement, keeps_what_is_damaged_for_its_owner) {
  const std::string path = folder / "POLYGON";
  write_file(path, "damaged");
  file_stream read(std::fopen(path.c_str(), "re"));
  fs::rename(path, folder / "other");
  write_file(path, "good");
  EXPECT_TRUE(qu_file_set_aside(path, read.get()));
  EXPECT_EQ(read_file(path), "good");
  read = file_stream(std::fopen(path.c_str(), "re"));
  const std::string said = console_of([&] { EXPECT_TRUE(qu_file_set_aside(path, read.get())); });
  EXPECT_FALSE(fs::exists(path));
  const std::size_t start = said.rfind("\"", said.size() - 3) + 1;
  EXPECT_EQ(read_file(said.substr(start, said.rfind('"') - start)), "good");
}

}  // namespace
}  // namespace qrd::test
