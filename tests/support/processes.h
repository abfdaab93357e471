// Several processes that do the same at once, as servers on one tree do.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "util/qu_lock.h"

namespace qrd::test {

// A fork that doesn't outlive a test which ends by a fatal message.
inline pid_t fork_for_test() {
  const pid_t child = fork();
  if (child == 0) prctl(PR_SET_PDEATHSIG, SIGKILL);
  return child;
}

// Another server that holds the lock of a folder for a moment, in which an operation of this process comes to
// wait for it, and then does something before it gives it up.
class other_server {
 public:
  other_server(const std::string& folder, const std::function<void()>& act) {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) std::abort();
    process_ = fork_for_test();
    if (process_ == 0) {
      const folder_lock lock(folder.c_str());
      if (!lock || write(ready[1], "", 1) != 1) _exit(1);
      poll(nullptr, 0, 200);
      act();
      _exit(0);
    }
    char byte = 1;
    close(ready[1]);
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
  }
  other_server(const other_server&) = delete;
  other_server& operator=(const other_server&) = delete;
  ~other_server() {
    int status = -1;
    waitpid(process_, &status, 0);
    EXPECT_EQ(status, 0);
  }

 private:
  pid_t process_;
};

// Another process that holds the locks of folders while the object lives.
class lock_holder {
 public:
  explicit lock_holder(const std::vector<std::string>& folders) {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) std::abort();
    process_ = fork_for_test();
    if (process_ == 0) {
      std::vector<std::unique_ptr<folder_lock>> locks;
      for (const std::string& folder : folders)
        locks.push_back(std::make_unique<folder_lock>(folder.c_str()));
      const bool held = std::all_of(locks.begin(), locks.end(), [](const auto& lock) { return bool(*lock); });
      if (held && write(ready[1], "", 1) == 1) pause();
      _exit(1);
    }
    char byte = 1;
    close(ready[1]);
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
  }
  lock_holder(const lock_holder&) = delete;
  lock_holder& operator=(const lock_holder&) = delete;
  ~lock_holder() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }

 private:
  pid_t process_;
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
