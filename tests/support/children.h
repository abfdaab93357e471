// A look at other processes.
#pragma once

#include <sstream>

#include "support/test.h"

namespace qrd::test {

inline std::vector<pid_t> children_of(pid_t process) {
  std::string number = std::to_string(process);
  std::istringstream list(read_file("/proc/" + number + "/task/" + number + "/children"));
  std::vector<pid_t> result;
  for (pid_t child = 0; list >> child;) result.push_back(child);
  return result;
}

// What the open descriptors of a process stand for, from 3 on.
inline strings open_files_of(pid_t process) {
  strings result;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd"))
    if (std::stoi(entry.path().filename()) > 2) {
      std::string target = fs::read_symlink(entry.path());
      result.push_back(target.substr(0, target.find(':')));
    }
  return result;
}

inline bool becomes_true(const std::function<bool()>& condition, std::chrono::milliseconds time = 10s) {
  for (auto end = clock::now() + time; clock::now() < end; std::this_thread::sleep_for(5ms))
    if (condition()) return true;
  return condition();
}

}  // namespace qrd::test
