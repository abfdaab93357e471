// A look at other processes.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/bytes.h"

namespace qrd::test {

inline std::vector<pid_t> children_of(pid_t process) {
  std::string number = std::to_string(process);
  std::istringstream list(read_file("/proc/" + number + "/task/" + number + "/children"));
  std::vector<pid_t> result;
  for (pid_t child = 0; list >> child;) result.push_back(child);
  return result;
}

// What the open descriptors of a process stand for, from 3 on.
inline std::vector<std::string> open_files_of(pid_t process) {
  std::vector<std::string> result;
  for (const std::filesystem::directory_entry& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd"))
    if (std::stoi(entry.path().filename()) > 2) {
      std::string target = std::filesystem::read_symlink(entry.path());
      result.push_back(target.substr(0, target.find(':')));
    }
  return result;
}

inline bool becomes_true(const std::function<bool()>& condition,
                         std::chrono::milliseconds time = std::chrono::seconds(10)) {
  for (auto end = std::chrono::steady_clock::now() + time; std::chrono::steady_clock::now() < end;
       std::this_thread::sleep_for(std::chrono::milliseconds(5)))
    if (condition()) return true;
  return condition();
}

}  // namespace qrd::test
