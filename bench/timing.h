// Times and their medians.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace qrd::bench {

// Seconds that `work` takes.
template <typename Work>
double seconds(const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// REQUIRES: at least one value.
inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

struct pair_of_times {
  double measured;  // median seconds
  double bare;
};

// Runs both in turn, so that a change of the machine's load meets both.
template <typename Measured, typename Bare>
pair_of_times compare(int rounds, const Measured& measured, const Bare& bare) {
  std::vector<double> measured_times;
  std::vector<double> bare_times;
  for (int i = 0; i < rounds; ++i) {
    bare_times.push_back(seconds(bare));
    measured_times.push_back(seconds(measured));
  }
  return {median(measured_times), median(bare_times)};
}

}  // namespace qrd::bench
