// The numbers along an axis: what it spans, where its ticks stand, and how they are written.
#pragma once

#include <cmath>
#include <string>
#include <vector>

namespace qrd::plot {

// Whether a number can be drawn. No variable holds one beyond 1e30.
inline bool is_value(double number) {
  return std::abs(number) <= 1e30;
}

struct extent {
  double low = HUGE_VAL;
  double high = -HUGE_VAL;
  bool is_empty() const { return low > high; }
  double size() const { return high - low; }
  bool operator==(const extent&) const = default;
  // Takes a value in; what can't be drawn is passed over.
  void add(double value);
};

// A bit more on both sides. What has no size gets one.
extent widened(const extent& of, double part);

struct axis {
  extent range;
  std::vector<double> ticks;  // multiples of 1, 2 or 5 times a power of ten
  int decimals = 0;
  // Of a tick, with as many digits as all of them need.
  std::string text(double tick) const;
};

// REQUIRES: a range with a size.
axis make_axis(const extent& range, int most_ticks);

// The largest of 1, 2 and 5 times a power of ten that isn't above the value. REQUIRES: a value above 0.
double round_step(double value);

// A value as a reader wants it: so many significant digits at most.
std::string short_text(double value, int digits = 4);

}  // namespace qrd::plot
