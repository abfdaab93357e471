#include "qrd/numbers.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

namespace qrd::client {

namespace {

// What lies beyond is stored as missing, also where the format could carry it.
constexpr double highest_stored = 1e30;
// Of a number: 17 digits, their sign and point, and an exponent.
constexpr std::size_t most_characters = 32;

// Writes a number that is a decimal of few places, as most of those are that people measure: the general way
// takes them apart digit by digit. Nothing for another one, and for one that is shorter with an exponent.
char* write_short(char* to, double value) {
  constexpr double powers[] = {1, 10, 100, 1000, 10000};
  constexpr double greatest = 1e9;
  constexpr double least = 1e-3;
  const double size = std::abs(value);
  if (!(size < greatest)) return nullptr;
  for (std::size_t places = 0; places < std::size(powers); ++places) {
    const std::int64_t digits = std::llround(size * powers[places]);
    // A quotient of two whole numbers is rounded to what the decimal stands for.
    if (static_cast<double>(digits) / powers[places] != size) continue;
    if (places == 0 ? digits >= 100000 && digits % 10 == 0 : size < least) return nullptr;
    if (std::signbit(value)) *to++ = '-';
    const auto power = static_cast<std::int64_t>(powers[places]);
    to = std::to_chars(to, to + most_characters / 2, digits / power).ptr;
    if (places == 0) return to;
    *to++ = '.';
    std::int64_t rest = digits % power;
    for (std::size_t i = places; i-- > 0; rest /= 10) to[i] = static_cast<char>('0' + rest % 10);
    return to + places;
  }
  return nullptr;
}

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

char* write_number(char* to, double value) {
  if (char* const end = write_short(to, value)) return end;
  return std::to_chars(to, to + most_characters, value).ptr;
}

char* write_length(char* to, double value, double factor) {
  char* const end = write_number(to, value);
  // As few digits can only be those of the value itself, as long as it is told as itself.
  constexpr std::ptrdiff_t few = std::numeric_limits<double>::digits10;
  if (end - to <= few) return end;
  char text[most_characters];
  const auto rounded = std::to_chars(text, text + sizeof text, value, std::chars_format::general,
                                     std::numeric_limits<double>::digits10);
  double candidate = 0;
  std::from_chars(text, rounded.ptr, candidate);
  // The division by the factor leaves an error in the last digits of what was a round number.
  return candidate != value && candidate * factor / factor == value ? write_number(to, candidate) : end;
}

char* write_single(char* to, double value, double factor) {
  // The value may have been stored as it is, or as a length; where both are possible both must come out the
  // same.
  const bool is_plain = is_single(value) && static_cast<double>(static_cast<float>(value)) == value;
  const auto is_told_by = [&](double candidate) {
    return same_single(candidate * factor, value * factor) && (!is_plain || same_single(candidate, value));
  };
  if (factor == 1 && is_plain) {
    char* const end = std::to_chars(to, to + most_characters, static_cast<float>(value)).ptr;
    double candidate = 0;
    std::from_chars(to, end, candidate);
    // Read as a double first, a text that lies between two singles could become the other one.
    if (is_told_by(candidate)) return end;
  }
  // A text of fewer digits comes out of this many too.
  constexpr int fewest_digits = std::numeric_limits<float>::digits10;
  for (int digits = fewest_digits; digits <= std::numeric_limits<float>::max_digits10; ++digits) {
    const auto rounded = std::to_chars(to, to + most_characters, value, std::chars_format::general, digits);
    double candidate = 0;
    std::from_chars(to, rounded.ptr, candidate);
    if (is_told_by(candidate)) return write_number(to, candidate);
  }
  return write_number(to, value);
}

std::string number_text(double value) {
  char text[most_characters];
  return {text, write_number(text, value)};
}

std::string length_text(double value, double factor) {
  char text[most_characters];
  return {text, write_length(text, value, factor)};
}

std::string single_text(double value, double factor) {
  char text[most_characters];
  return {text, write_single(text, value, factor)};
}

bool fits_bits(double value, std::int32_t bits) {
  if (bits >= 32) return std::abs(value) <= highest_stored;
  if (value != std::floor(value) || value < 0) return false;
  if (bits == 1) return value <= 1;
  return value < static_cast<double>((1 << bits) - 1);
}

}  // namespace qrd::client
