// A progress bar on standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "qrd/wire.h"

namespace qrd::command {

// Shows itself only on a terminal, and only when the work takes longer than a moment; leaves nothing behind.
// After a second it tells how quickly the work goes, and how long it will take.
class progress_bar {
 public:
  // `total` is all that is to be done, 0 where it is told later; `counted` is what it is counted in.
  progress_bar(std::string label, std::uint64_t total, bool quiet, std::string counted = "values");
  progress_bar(const progress_bar&) = delete;
  progress_bar& operator=(const progress_bar&) = delete;
  ~progress_bar();

  void show(std::uint64_t done);
  // The same for a reading or writing, which an interruption gives up. The bar has to outlive it.
  client::progress_function function();

 private:
  std::string label_;
  std::uint64_t total_;
  std::string counted_;
  bool visible_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::steady_clock::time_point next_;
};

// How quickly and how much longer, such as ", 2.5 M values/s, 40 s left"; nothing in the first second.
std::string rate_text(std::uint64_t done, std::uint64_t total, double seconds, const std::string& counted);

}  // namespace qrd::command
