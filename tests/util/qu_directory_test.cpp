#include <dlfcn.h>

#include "support/processes.h"
#include "util/qu_copy.h"
#include "util/qu_directory.h"

namespace {

// What another server does once the directory "sub" was found not to be a file.
std::function<void()> meanwhile;

}  // namespace

// Stands before that of the C library.
extern "C" int unlinkat(int folder, const char* name, int flags) noexcept {
  using function = int (*)(int, const char*, int);
  static const auto real = reinterpret_cast<function>(dlsym(RTLD_NEXT, "unlinkat"));
  const int result = real(folder, name, flags);
  if (result != 0 && errno == EISDIR && meanwhile && std::strcmp(name, "sub") == 0) {
    std::exchange(meanwhile, nullptr)();
    errno = EISDIR;
  }
  return result;
}

namespace qrd::test {
namespace {

struct plain_directories : testing::Test {
  temporary_directory folder_;
  std::string tree_ = folder_ / "TREE";
};

TEST(dirname, takes_both_separators) {
  const char* const rows[][2] = {{"abc", "."},  {"/abc", "/"}, {"\\abc", "\\"},
                                 {"a/b/", "a"}, {"a\\b", "a"}, {"/a/b/c", "/a/b"},
                                 {"/", "/"},    {"", "."},     {"a/", "."}};
  for (const auto& [path, parent] : rows) {
    char room[10] = "";
    EXPECT_STREQ(qu_file_dirname(path, room), parent) << path;
    std::strcpy(room, path);
    EXPECT_STREQ(qu_file_dirname(room, room), parent) << path;
  }
}

TEST_F(plain_directories, is_one_with_trailing_separators_too) {
  std::string root = folder_.path().string();
  for (const char* tail : {"", "/", "//", "\\", "/\\"})
    EXPECT_EQ(qu_file_isdirectory((root + tail).c_str()), 1);
  write_file(folder_ / "F", "");
  EXPECT_EQ(qu_file_isdirectory((folder_ / "F").c_str()), 0);
  EXPECT_EQ(qu_file_isdirectory((folder_ / "F/").c_str()), 0);
  EXPECT_EQ(qu_file_isdirectory(""), 0);
}

TEST_F(plain_directories, is_made_with_its_parents) {
  std::string deep = folder_ / "a/b/c";
  EXPECT_EQ(qu_file_mkdir(deep.c_str(), true), 0);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_mkdir(deep.c_str(), true), 1); }), "");
  std::string report = console_of([&] { EXPECT_EQ(qu_file_mkdir((folder_ / "x/y").c_str(), false), 2); });
  EXPECT_EQ(report,
            "WARNING: AN ERROR OCCURED WHEN CREATING A DIRECTORY\n"
            "IN THE VELMAR FILE SYSTEM... DIRECTORY NAME:\n" +
                (folder_ / "x/y") +
                "\n\nSYSTEM ERROR MESSAGE: \nNo such file or directory\n\n"
                "CHECK DISK SPACE AND DISK QUOTAS\n");
  write_file(folder_ / "F", "");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_file_mkdir((folder_ / "F/y").c_str(), true), 2); }),
            (folder_ / "F") + " already exists and is not a directory\n");
}

TEST_F(plain_directories, listing_is_read_at_once) {
  write_file(folder_ / "A", "");
  directory_listing listing(folder_.path().c_str());
  write_file(folder_ / "B", "");
  strings names;
  while (const char* name = listing.next()) names.emplace_back(name);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (strings{".", "..", "A"}));
  EXPECT_EQ(listing.next(), nullptr);
  EXPECT_FALSE(directory_listing((folder_ / "none").c_str()));
  EXPECT_FALSE(directory_listing((folder_ / "A").c_str()));
}

TEST_F(plain_directories, deletion_never_follows_a_link) {
  fs::create_directories(fs::path(tree_) / "sub/deep");
  fs::create_directory(folder_ / "kept");
  write_file(folder_ / "kept/file", "x");
  write_file(tree_ + "/sub/deep/file", "x");
  fs::create_symlink(folder_ / "kept", tree_ + "/sub/link");
  fs::create_symlink(folder_ / "nowhere", tree_ + "/dangling");

  EXPECT_EQ(qu_file_delete_tree((folder_ / "kept/file").c_str(), true), 0);
  EXPECT_EQ(qu_file_delete_tree(tree_.c_str(), false), 1);
  EXPECT_TRUE(fs::is_empty(tree_));
  EXPECT_EQ(qu_file_delete_tree(tree_.c_str(), true), 1);
  EXPECT_FALSE(fs::exists(tree_));
  EXPECT_EQ(qu_file_delete_tree(tree_.c_str(), true), 0);

  fs::create_symlink(folder_ / "kept", tree_);
  EXPECT_EQ(qu_file_delete_tree((tree_ + "/").c_str(), false), 0);
  EXPECT_EQ(qu_file_delete_tree((tree_ + "/").c_str(), true), 1);
  EXPECT_FALSE(fs::is_symlink(tree_));
  EXPECT_EQ(read_file(folder_ / "kept/file"), "x");
}

TEST_F(plain_directories, deletion_passes_over_what_another_has_just_deleted) {
  fs::create_directories(tree_ + "/sub/deep");
  meanwhile = [this] { fs::remove_all(tree_ + "/sub"); };
  EXPECT_EQ(console_of([this] { EXPECT_EQ(qu_file_delete_tree(tree_.c_str(), true), 1); }), "");
  EXPECT_FALSE(meanwhile) << "it was asked for";
  EXPECT_FALSE(fs::exists(tree_));
}

// What another one has already removed counts as removed, at every step: they begin one after the other.
TEST_F(plain_directories, several_may_delete_one_tree) {
  constexpr int folders = 20, files = 20;
  for (int pause : {0, 1, 2, 3}) {
    for (int i = 0; i < folders; ++i) {
      const std::string inner = tree_ + "/" + std::to_string(i) + "/deep";
      fs::create_directories(inner);
      for (int k = 0; k < files; ++k) write_file(inner + "/" + std::to_string(k), "");
    }
    const auto remove = [&](int process) {
      poll(nullptr, 0, process * pause);
      return qu_file_delete_tree(tree_.c_str(), false) == 1;
    };
    EXPECT_EQ(in_processes(6, remove), 0);
    EXPECT_TRUE(fs::is_empty(tree_));
  }
}

TEST_F(plain_directories, copy_passes_over_what_no_path_may_be_called) {
  fs::create_directory(tree_);
  for (const char* name : {"a*b", "good", "zz"}) write_file(tree_ + "/" + name, name);
  const std::string copy = folder_ / "COPY";
  const std::string said = console_of([&] { EXPECT_EQ(qu_dir_copy(tree_.c_str(), copy.c_str()), 0); });
  EXPECT_HAS(said, "Unable to access file " + tree_ + "/a*b.\n");
  EXPECT_EQ(read_file(copy + "/good") + read_file(copy + "/zz"), "goodzz");
  EXPECT_EQ(std::distance(fs::directory_iterator(copy), {}), 2);
}

TEST_F(plain_directories, copy_passes_over_links_and_pipes) {
  fs::create_directories(fs::path(tree_) / "sub");
  write_file(tree_ + "/sub/file", "content");
  fs::create_symlink("file", tree_ + "/sub/link");
  ASSERT_EQ(mkfifo((tree_ + "/pipe").c_str(), 0600), 0);
  std::string copy = folder_ / "COPY";
  fs::create_directory(copy);
  write_file(copy + "/old", "");

  EXPECT_EQ(qu_dir_copy(tree_.c_str(), copy.c_str()), 0);
  EXPECT_EQ(read_file(copy + "/sub/file"), "content");
  EXPECT_EQ(std::distance(fs::recursive_directory_iterator(copy), {}), 2);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 2);
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_dir_copy(copy.c_str(), copy.c_str()), 1); }),
            "Copy directory error: source and target are identical\n");
  EXPECT_EQ(console_of([&] { EXPECT_EQ(qu_dir_copy((folder_ / "none").c_str(), copy.c_str()), 1); }),
            "WARNING: CANNOT OPEN DIRECTORY\n" + (folder_ / "none") +
                "\n\nSYSTEM ERROR MESSAGE:\n\nNo such file or directory\n");
  EXPECT_TRUE(fs::exists(copy));
}

}  // namespace
}  // namespace qrd::test
