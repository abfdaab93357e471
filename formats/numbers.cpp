#include "formats/numbers.h"

#include <algorithm>
#include <cstdint>

#include "qrd/numbers.h"

namespace qrd::formats {

number_look look_of_number(std::string_view cell) {
  const char* at = cell.data();
  const char* end = at + cell.size();
  const auto is_digit = [](char character) { return character >= '0' && character <= '9'; };
  while (at != end && *at == ' ') ++at;
  while (end != at && end[-1] == ' ') --end;
  if (at != end && (*at == '-' || *at == '+')) ++at;
  number_look look = number_look::whole;
  bool digits = false;
  for (; at != end; ++at) {
    if (is_digit(*at)) {
      digits = true;
    } else if ((*at == '.' || *at == ',') && look == number_look::whole) {
      look = *at == '.' ? number_look::point : number_look::comma;
    } else {
      break;
    }
  }
  if (!digits) return number_look::none;
  if (at == end) return look;
  if (*at != 'e' && *at != 'E') return number_look::none;
  if (++at != end && (*at == '-' || *at == '+')) ++at;
  if (at == end || !std::all_of(at, end, is_digit)) return number_look::none;
  return look;
}

namespace {

// Few digits without an exponent make a whole number and a power of ten that are both exact, and so their
// quotient is the nearest double (Clinger 1990). Nothing for other texts.
std::optional<double> read_short_number(std::string_view cell, char decimal_mark) {
  constexpr std::size_t most_digits = 15;
  constexpr double powers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                               1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const char* at = cell.data();
  const char* const end = at + cell.size();
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  if (static_cast<std::size_t>(end - at) > most_digits + 1) return std::nullopt;
  std::uint64_t digits = 0;
  const char* mark = nullptr;
  std::size_t count = 0;
  for (; at != end; ++at) {
    const auto digit = static_cast<unsigned>(*at - '0');
    if (digit <= 9) {
      digits = 10 * digits + digit;
      ++count;
    } else if (*at == decimal_mark && mark == nullptr) {
      mark = at;
    } else {
      return std::nullopt;
    }
  }
  if (count == 0 || count > most_digits) return std::nullopt;
  const double value = static_cast<double>(digits) / powers[mark == nullptr ? 0 : end - mark - 1];
  return negative ? -value : value;
}

}  // namespace

std::optional<double> read_number(std::string_view cell, bool decimal_comma) {
  if (const auto value = read_short_number(cell, decimal_comma ? ',' : '.')) return value;
  if (!decimal_comma) return client::parse_number(cell);
  const std::size_t comma = cell.find(',');
  if (comma == std::string_view::npos)
    return cell.find('.') == std::string_view::npos ? client::parse_number(cell) : std::nullopt;
  // A longer one has more digits than any number that a program writes.
  char text[64];
  if (cell.size() > sizeof text || cell.find('.') != std::string_view::npos) return std::nullopt;
  cell.copy(text, cell.size());
  text[comma] = '.';
  return client::parse_number({text, cell.size()});
}

}  // namespace qrd::formats
