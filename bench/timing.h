// Times, and how calm the machine was while they were taken.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

namespace qrd::bench {

// Seconds that `work` takes.
template <typename Work>
double seconds(const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// The value below which so many of all lie, 0.5 for the median. REQUIRES: at least one value, part in [0, 1].
inline double quantile(std::vector<double> values, double part) {
  const auto place =
      values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1) + 0.5);
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

inline double median(const std::vector<double>& values) {
  return quantile(values, 0.5);
}

struct series {
  explicit series(const std::vector<double>& times)
      : lower(quantile(times, 0.25)), median(bench::median(times)), upper(quantile(times, 0.75)) {}
  // Upper over lower quartile.
  double spread() const { return upper / lower; }

  double lower;
  double median;
  double upper;
};

// Times of the server, and of what it is compared with, if anything.
struct comparison {
  // Told by what always does the same work, where there is such.
  double unrest() const { return bare ? bare->spread() : measured.spread(); }

  series measured;
  std::optional<series> bare;
  int repeated = 0;
};

// A wider spread tells of a machine that is busy with other things: what was measured is measured again, at
// most twice.
inline constexpr double busy_spread = 1.2;
inline constexpr int most_repetitions = 2;

// The calmest of the attempts.
template <typename Attempt>
comparison calmest(const Attempt& attempt) {
  comparison best = attempt();
  int repeated = 0;
  while (best.unrest() > busy_spread && repeated < most_repetitions) {
    ++repeated;
    const comparison again = attempt();
    if (again.unrest() < best.unrest()) best = again;
  }
  best.repeated = repeated;
  return best;
}

// Runs both in turn, so that a change of the machine's load meets both. `after` puts things in order after
// each round and is not timed.
template <typename Measured, typename Bare, typename After>
comparison compare(int rounds, const Measured& measured, const Bare& bare, const After& after) {
  return calmest([&] {
    std::vector<double> measured_times;
    std::vector<double> bare_times;
    for (int i = 0; i < rounds; ++i) {
      bare_times.push_back(seconds(bare));
      measured_times.push_back(seconds(measured));
      after();
    }
    return comparison{series(measured_times), series(bare_times)};
  });
}

template <typename Measured, typename Bare>
comparison compare(int rounds, const Measured& measured, const Bare& bare) {
  return compare(rounds, measured, bare, [] {});
}

// Without anything to compare with.
template <typename Work, typename After>
comparison times_of(int rounds, const Work& work, const After& after) {
  return calmest([&] {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
      times.push_back(seconds(work));
      after();
    }
    return comparison{series(times), std::nullopt};
  });
}

template <typename Work>
comparison times_of(int rounds, const Work& work) {
  return times_of(rounds, work, [] {});
}

}  // namespace qrd::bench
