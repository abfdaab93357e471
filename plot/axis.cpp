#include "plot/axis.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace qrd::plot {

void extent::add(double value) {
  if (!is_value(value)) return;
  low = std::min(low, value);
  high = std::max(high, value);
}

extent widened(const extent& of, double part) {
  const double size = std::max(of.size(), 1e-9 * std::max(std::abs(of.low), std::abs(of.high)));
  const double more = size > 0 && of.size() > 0 ? part * size : std::max(0.5, 1e-3 * std::abs(of.low));
  return {of.low - more, of.high + more};
}

double round_step(double value) {
  const double power = std::pow(10, std::floor(std::log10(value)));
  // A hair below 2 that should be 2 is 2.
  const double first = value / power * (1 + 1e-9);
  return first >= 10 ? 10 * power : first >= 5 ? 5 * power : first >= 2 ? 2 * power : power;
}

axis make_axis(const extent& range, int most_ticks) {
  axis made{range, {}, 0};
  double step = round_step(range.size() / std::max(1, most_ticks));
  while (range.size() / step > most_ticks) step = round_step(step * 2.5);
  const double first = std::ceil(range.low / step - 1e-9);
  for (int i = 0; i <= most_ticks; ++i) {
    const double tick = (first + i) * step;
    if (tick > range.high + 1e-9 * step) break;
    made.ticks.push_back(tick == 0 ? 0 : tick);
  }
  made.decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)));
  return made;
}

std::string axis::text(double tick) const {
  constexpr int most_decimals = 9;
  constexpr double largest_plain = 1e9;
  std::array<char, 64> digits{};
  const bool is_plain = decimals <= most_decimals && std::abs(tick) < largest_plain;
  std::snprintf(digits.data(), digits.size(), is_plain ? "%.*f" : "%.*g", is_plain ? decimals : 6, tick);
  return digits.data();
}

std::string short_text(double value, int digits) {
  std::array<char, 64> text{};
  const double size = std::abs(value);
  // Whole numbers keep all their digits.
  if (size >= std::pow(10, digits) && size < 1e9)
    std::snprintf(text.data(), text.size(), "%.0f", value);
  else
    std::snprintf(text.data(), text.size(), "%.*g", digits, value == 0 ? 0.0 : value);
  return text.data();
}

}  // namespace qrd::plot
