#include "util/qu_lock.h"

#include <sys/file.h>

#include "support/test.h"

namespace qrd::test {
namespace {

// A process that holds a lock until it is let go.
class holder : unmovable {
 public:
  holder(const std::string& folder, lock_kind kind, lock_reach reach = lock_reach::by_file_system) {
    int ready[2], done[2];
    if (pipe2(ready, O_CLOEXEC) != 0 || pipe2(done, O_CLOEXEC) != 0) std::abort();
    char byte = 0;
    process_ = fork();
    if (process_ == 0) {
      {
        folder_lock lock(folder.c_str(), kind, 0ms, reach);
        byte = lock ? 1 : 0;
        if (write(ready[1], &byte, 1) != 1 || read(done[0], &byte, 1) != 1) std::abort();
      }
      _exit(0);
    }
    held = read(ready[0], &byte, 1) == 1 && byte == 1;
    for (int end : {ready[0], ready[1], done[0]}) close(end);
    release_ = done[1];
  }
  ~holder() { end(); }
  void end() {
    if (release_ < 0) return;
    if (write(release_, "", 1) != 1) std::abort();
    close(release_);
    release_ = -1;
    waitpid(process_, nullptr, 0);
  }
  bool held = false;

 private:
  pid_t process_;
  int release_;
};

struct folder_locking : testing::Test {
  bool take(lock_kind kind = lock_kind::exclusive) {
    return static_cast<bool>(folder_lock(folder.path().c_str(), kind, 30ms));
  }
  temporary_directory folder;
};

TEST_F(folder_locking, keeps_other_processes_out_until_it_is_given_up) {
  holder other(folder.path(), lock_kind::exclusive);
  ASSERT_TRUE(other.held);
  EXPECT_FALSE(take());
  EXPECT_EQ(errno, EWOULDBLOCK);
  EXPECT_FALSE(take(lock_kind::shared));
  other.end();
  EXPECT_TRUE(take());
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(folder_locking, is_shared_by_those_who_only_look) {
  holder other(folder.path(), lock_kind::shared);
  EXPECT_TRUE(take(lock_kind::shared));
  EXPECT_FALSE(take());
}

TEST_F(folder_locking, within_a_lock_is_kept_to_the_end_of_the_last) {
  auto outer = std::make_unique<folder_lock>(folder.path().c_str());
  folder_lock inner((folder / ".").c_str());
  ASSERT_TRUE(*outer && inner);
  outer.reset();
  EXPECT_FALSE(holder(folder.path(), lock_kind::shared).held);
  inner.release();
  EXPECT_TRUE(holder(folder.path(), lock_kind::shared).held);
}

TEST_F(folder_locking, is_of_the_folder_that_has_the_name) {
  EXPECT_FALSE(folder_lock((folder / "none").c_str()));
  EXPECT_EQ(errno, ENOENT);
  fs::create_directory(folder / "a");
  folder_lock lock((folder / "a").c_str());
  fs::rename(folder / "a", folder / "b");
  EXPECT_FALSE(lock.is_at((folder / "a").c_str()));
  EXPECT_TRUE(lock.is_at((folder / "b").c_str()));
}

// Locks of folders reach one machine alone there: whoever holds the file is on another one.
TEST_F(folder_locking, on_a_network_file_system_is_of_a_file_too) {
  constexpr lock_reach far = lock_reach::other_machines;
  const std::string path = folder / "L_FOLDER";
  const int theirs = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  ASSERT_EQ(flock(theirs, LOCK_EX), 0);
  EXPECT_FALSE(folder_lock(folder.path().c_str(), lock_kind::exclusive, 30ms, far));
  EXPECT_EQ(errno, EWOULDBLOCK);
  close(theirs);
  EXPECT_TRUE(folder_lock(folder.path().c_str(), lock_kind::exclusive, 30ms, far));
  EXPECT_FALSE(fs::exists(path));
  // The first of two who share it leaves its name to the other.
  holder one(folder.path(), lock_kind::shared, far), other(folder.path(), lock_kind::shared, far);
  ASSERT_TRUE(one.held && other.held);
  one.end();
  EXPECT_TRUE(fs::exists(path));
  other.end();
  EXPECT_FALSE(fs::exists(path));
}

}  // namespace
}  // namespace qrd::test
