#include "util/qu_sync.h"

#include <sys/syscall.h>

#include "support/test.h"

namespace {
int folders_waited_for, files_waited_for;
}  // namespace

// Taken instead of those of the C library.
extern "C" int fsync(int handle) {
  ++folders_waited_for;
  return static_cast<int>(syscall(SYS_fsync, handle));
}
extern "C" int fdatasync(int handle) {
  ++files_waited_for;
  return static_cast<int>(syscall(SYS_fdatasync, handle));
}

namespace qrd::test {
namespace {

TEST(sync, waits_for_what_the_environment_asks_for) {
  const temporary_directory directory;
  const std::string tree = directory / "tree", gone = directory / "gone";
  fs::create_directories(tree + "/inner");
  for (const char* name : {"/a", "/inner/b"}) write_file(tree + name, "small");
  const int small = open((tree + "/a").c_str(), O_RDWR | O_CLOEXEC);
  const int large = open((tree + "/large").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(ftruncate(large, small_file_bytes + 1), 0);

  const struct {
    const char* what;
    std::function<bool()> act;
    const char* files[3];  // and folders, for "0", unset and "1"
  } rows[] = {
      {"small file", [&] { return qu_sync_file(small); }, {"0 0", "1 0", "1 0"}},
      {"large file", [&] { return qu_sync_file(large); }, {"0 0", "0 0", "1 0"}},
      {"whole file", [&] { return qu_sync_whole_file(large); }, {"0 0", "1 0", "1 0"}},
      {"samples", [&] { return qu_sync_written(small); }, {"0 0", "0 0", "1 0"}},
      {"folder", [&] { return qu_sync_folder(tree); }, {"0 0", "0 0", "0 1"}},
      {"folder first", [&] { return qu_sync_folder_first(tree); }, {"0 0", "0 1", "0 1"}},
      {"tree", [&] { return qu_sync_tree(tree); }, {"0 0", "2 0", "3 2"}},
      {"removal", [&] { return write_file(gone, ""), qu_remove_file(gone.c_str()); }, {"0 0", "0 0", "0 1"}},
      {"removal of nothing", [&] { return qu_remove_file(gone.c_str()); }, {"0 0", "0 0", "0 0"}},
      {"pause",
       [&] {
         const sync_pause pause;
         return qu_sync_file(small) && qu_sync_written(small) && qu_sync_folder(tree);
       },
       {"0 0", "0 0", "0 0"}}};
  const char* before = std::getenv("QRD_SYNC");
  const std::string kept = before == nullptr ? "" : before;
  const char* const settings[] = {"0", nullptr, "1"};
  for (int i = 0; i < 3; ++i) {
    settings[i] == nullptr ? unsetenv("QRD_SYNC") : setenv("QRD_SYNC", settings[i], 1);
    for (const auto& row : rows) {
      folders_waited_for = files_waited_for = 0;
      EXPECT_TRUE(row.act()) << row.what;
      EXPECT_EQ(std::to_string(files_waited_for) + " " + std::to_string(folders_waited_for), row.files[i])
          << row.what << " " << i;
    }
  }
  before == nullptr ? unsetenv("QRD_SYNC") : setenv("QRD_SYNC", kept.c_str(), 1);
  close(small);
  close(large);
}

}  // namespace
}  // namespace qrd::test
