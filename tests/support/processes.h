// Several processes that do the same at once, as servers on one tree do.
#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <vector>

namespace qrd::test {

// A fork that doesn't outlive a test which ends by a fatal message.
inline pid_t fork_for_test() {
  const pid_t child = fork();
  if (child == 0) prctl(PR_SET_PDEATHSIG, SIGKILL);
  return child;
}

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
