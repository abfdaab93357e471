// A progress bar on standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace qrd::command {

// Shows itself only on a terminal, and only when the work takes longer than a moment; leaves nothing behind.
class progress_bar {
 public:
  progress_bar(std::string label, std::uint64_t total, bool quiet);
  progress_bar(const progress_bar&) = delete;
  progress_bar& operator=(const progress_bar&) = delete;
  ~progress_bar();

  void show(std::uint64_t done);

 private:
  std::string label_;
  std::uint64_t total_;
  bool visible_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace qrd::command
