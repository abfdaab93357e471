// Several processes that do the same at once, as servers on one tree do.
#pragma once

#include <sys/prctl.h>

#include "support/test.h"
#include "util/qu_lock.h"

namespace qrd::test {

// A fork that doesn't outlive a test which ends by a fatal message.
inline pid_t fork_for_test() {
  const pid_t child = fork();
  if (child == 0) prctl(PR_SET_PDEATHSIG, SIGKILL);
  return child;
}

inline void expect_success(pid_t process) {
  int status = -1;
  waitpid(process, &status, 0);
  EXPECT_EQ(status, 0);
}

// Another server that holds the locks of folders from the beginning, and then does something.
class lock_owner : unmovable {
 protected:
  lock_owner(const strings& folders, const std::function<void()>& act) {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) std::abort();
    process_ = fork_for_test();
    if (process_ == 0) {
      std::vector<std::unique_ptr<folder_lock>> locks;
      for (const std::string& folder : folders) {
        locks.push_back(std::make_unique<folder_lock>(folder.c_str()));
        if (!*locks.back()) _exit(1);
      }
      if (write(ready[1], "", 1) != 1) _exit(1);
      act();
      _exit(0);
    }
    char byte = 1;
    close(ready[1]);
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
  }

  pid_t process_;
};

// For a moment, in which an operation of this process comes to wait for it.
struct other_server : lock_owner {
  other_server(const std::string& folder, const std::function<void()>& act)
      : lock_owner({folder}, [&] {
          poll(nullptr, 0, 200);
          act();
        }) {}
  ~other_server() { expect_success(process_); }
};

// While the object lives.
struct lock_holder : lock_owner {
  explicit lock_holder(const strings& folders) : lock_owner(folders, [] { pause(); }) {}
  ~lock_holder() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
};

// Runs an act in so many processes; each gives true if it succeeded. How many failed.
inline int in_processes(int count, const std::function<bool(int process)>& act) {
  std::vector<pid_t> children;
  for (int process = 0; process < count; ++process) {
    children.push_back(fork_for_test());
    if (children.back() != 0) continue;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    _exit(act(process) ? 0 : 1);
  }
  int failures = 0;
  for (pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    failures += status != 0 ? 1 : 0;
  }
  return failures;
}

}  // namespace qrd::test
