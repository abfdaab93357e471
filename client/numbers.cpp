#include "qrd/numbers.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace qrd::client {

namespace {

// What lies beyond is stored as missing, also where the format could carry it.
constexpr double highest_stored = 1e30;

bool is_single(double value) {
  return std::abs(value) <= std::numeric_limits<float>::max();
}

bool same_single(double a, double b) {
  return is_single(a) && is_single(b) && static_cast<float>(a) == static_cast<float>(b);
}

}  // namespace

std::optional<double> parse_number(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  double value = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (problem != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
    return std::nullopt;
  return value;
}

std::string number_text(double value) {
  char text[32];
  const auto [end, problem] = std::to_chars(text, text + sizeof text, value);
  return problem == std::errc() ? std::string(text, end) : std::string();
}

std::string length_text(double value, double factor) {
  char text[32];
  const auto [end, problem] = std::to_chars(text, text + sizeof text, value, std::chars_format::general,
                                            std::numeric_limits<double>::digits10);
  if (problem != std::errc()) return number_text(value);
  double candidate = 0;
  std::from_chars(text, end, candidate);
  // The division by the factor leaves an error in the last digits of what was a round number.
  return number_text(candidate * factor / factor == value ? candidate : value);
}

std::string single_text(double value, double factor) {
  // The value may have been stored as it is, or as a length; where both are possible both must come out the
  // same.
  const bool is_plain = is_single(value) && static_cast<double>(static_cast<float>(value)) == value;
  char text[32];
  if (factor == 1 && is_plain) {
    const auto [end, problem] = std::to_chars(text, text + sizeof text, static_cast<float>(value));
    double candidate = 0;
    std::from_chars(text, end, candidate);
    // Read as a double first, a text that lies between two singles could become the other one.
    if (problem == std::errc() && same_single(candidate, value)) return {text, end};
  }
  // A text of fewer digits comes out of this many too.
  constexpr int fewest_digits = std::numeric_limits<float>::digits10;
  for (int digits = fewest_digits; digits <= std::numeric_limits<float>::max_digits10; ++digits) {
    const auto [end, problem] =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
    if (problem != std::errc()) break;
    double candidate = 0;
    std::from_chars(text, end, candidate);
    if (!same_single(candidate * factor, value * factor)) continue;
    if (is_plain && !same_single(candidate, value)) continue;
    return number_text(candidate);
  }
  return number_text(value);
}

bool fits_bits(double value, std::int32_t bits) {
  if (bits >= 32) return std::abs(value) <= highest_stored;
  if (value != std::floor(value) || value < 0) return false;
  if (bits == 1) return value <= 1;
  return value < static_cast<double>((1 << bits) - 1);
}

}  // namespace qrd::client
