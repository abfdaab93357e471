#include "util/qu_string.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "util/qu_message.h"

namespace qrd {

namespace {

bool is_bound(double bound) {
  return bound != missing_double;
}

// The integer of a bound, kept within the range of the type.
std::int64_t to_integer(double bound) {
  if (std::isnan(bound)) return 0;
  if (bound >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
  if (bound < -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(bound);
}

// Blanks, a sign, digits, blanks; every part may be missing.
bool is_integer_text(const char* text) {
  while (*text == ' ') text++;
  if (*text == '+' || *text == '-') text++;
  while (*text >= '0' && *text <= '9') text++;
  while (*text == ' ') text++;
  return *text == '\0';
}

// Adds one term to both sums, exact and in floating point. False if the exact one has overflowed.
bool apply(char operation, std::int64_t number, std::int64_t& exact, double& approximate) {
  double term = static_cast<double>(number);
  switch (operation) {
    case '*':
      approximate *= term;
      return !__builtin_mul_overflow(exact, number, &exact);
    case '-':
      approximate -= term;
      return !__builtin_sub_overflow(exact, number, &exact);
    default:
      approximate += term;
      return !__builtin_add_overflow(exact, number, &exact);
  }
}

}  // namespace

void qu_path_join(char* destination, std::size_t size, std::initializer_list<std::string_view> texts) {
  if (size == 0) return;
  std::size_t used = 0;
  for (std::string_view text : texts) {
    std::size_t length = std::min(text.size(), size - 1 - used);
    // The first text may be the destination itself.
    std::memmove(destination + used, text.data(), length);
    used += length;
    if (length < text.size()) break;
  }
  destination[used] = '\0';
}

void qu_string_copy(const char* source, std::size_t size, char* destination) {
  std::size_t length = strnlen(source, size);
  if (length < size) {
    std::memmove(destination, source, length + 1);
    return;
  }
  std::memmove(destination, source, size - 2);
  destination[size - 2] = '*';
  destination[size - 1] = '\0';
}

char* qu_string_trim(char* text) {
  const std::string_view kept = qu_trimmed(text);
  std::memmove(text, kept.data(), kept.size());
  text[kept.size()] = '\0';
  return text;
}

int qu_string_to_int(const char* text, double minimum, double maximum, bool blank_is_missing,
                     std::int64_t* result) {
  bool has_minimum = is_bound(minimum);
  bool has_maximum = is_bound(maximum);
  if (text[std::strspn(text, " ")] == '\0') {
    if (blank_is_missing) {
      *result = missing_int64;
      return 0;
    }
    *result = has_minimum ? to_integer(minimum) : has_maximum ? to_integer(maximum) : 0;
    return 1;
  }

  bool well_formed = is_integer_text(text);
  if (well_formed) *result = std::strtoll(text, nullptr, 10);
  double value = static_cast<double>(*result);
  bool below = has_minimum && value < minimum;
  bool above = has_maximum && value > maximum;
  if (well_formed && !below && !above) return 0;

  if (below || !has_maximum)
    *result = has_minimum ? to_integer(minimum) : 0;
  else
    *result = to_integer(maximum);
  return 1;
}

int qu_number_exceeds(const char* format, std::initializer_list<std::int64_t> numbers) {
  std::int64_t exact = 0;
  double approximate = 0.0;
  bool fits = true;
  char operation = '+';
  auto number = numbers.begin();
  for (const char* at = format; *at != '\0'; at++) {
    if (*at == '+' || *at == '-' || *at == '*') {
      operation = *at;
    } else if (*at == 'd' && number != numbers.end()) {
      fits = apply(operation, *number++, exact, approximate) && fits;
    }
  }
  if (fits && !(approximate > 9223372036854775807.0)) return 0;
  qu_message("WARNING: number is too big (%.0f)", approximate);
  qu_message("         maximum allowed is %" PRId64, std::numeric_limits<std::int64_t>::max());
  return 1;
}

void qu_time_text(char (&destination)[time_text_size], std::time_t time) {
  if (time == 0) time = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&time, &local) == nullptr ||
      std::strftime(destination, sizeof destination, "%b %d %Y   %H:%M:%S", &local) == 0)
    destination[0] = '\0';
}

std::string_view qu_trimmed(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(' '), text.size());
  return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

}  // namespace qrd
