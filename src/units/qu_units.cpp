#include "units/qu_units.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "util/qu_string.h"

namespace qrd {

namespace {

// In the order of number_format.
constexpr const char* format_rows[] = {"Free", "Integer", "Decimal", "Exponent", "Shifted"};

// A decimal number exactly as std::to_string writes it, or `otherwise` for any other word.
std::int64_t number_word(std::string_view word, std::int64_t minimum, std::int64_t maximum,
                         std::int64_t otherwise) {
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  bool whole = error == std::errc() && end == word.data() + word.size();
  bool canonical = word.size() == 1 || word.substr(0, 1).find_first_of("0-") == std::string_view::npos;
  return whole && canonical && value >= minimum && value <= maximum ? value : otherwise;
}

const length_unit* unit_of_factor(double factor) {
  const auto* row = std::ranges::find(length_units, factor, &length_unit::factor);
  return row == std::end(length_units) ? nullptr : row;
}

}  // namespace

constinit unit_state units;

double qu_format_factor(const qd_format_record& format) {
  return units.kept ? format.factor : 1.0;
}

int qu_unit_factor(const char* symbol, double* factor) {
  *factor = 1.0;
  for (const length_unit& row : length_units) {
    if (std::strcmp(row.symbol, symbol) != 0) continue;
    if (units.kept) *factor = row.factor;
    return 1;
  }
  return 0;
}

const char* qu_unit_name(double factor) {
  const length_unit* row = unit_of_factor(factor);
  return row == nullptr ? nullptr : row->name;
}

void qu_format_copy(const qd_format_record& source, qd_format_record& destination) {
  if (&source == &destination) return;
  destination = source;
  qu_string_copy(source.unit, destination.unit);
}

void qu_format_default(qd_format_record& destination) {
  qu_format_copy(float_default, destination);
}

void qu_format_set(const char* format, const char* width, const char* digits, const char* unit,
                   std::int64_t length_flag, double factor, qd_format_record& destination) {
  const auto* word = std::ranges::find(format_rows, std::string_view(format));
  destination.format = word == std::end(format_rows) ? FORMAT_FREE : word - format_rows;

  // An unknown width is the tenth of the list.
  destination.width = number_word(width, smallest_width, largest_width, smallest_width + 10);
  destination.digits = 0;
  if (destination.format == FORMAT_DECIMAL || destination.format == FORMAT_SHIFTED) {
    std::int64_t wanted = number_word(digits, 0, largest_digits, 0);
    destination.digits = std::min({wanted, destination.width - 3, largest_digits});
  }
  qu_string_copy(unit, destination.unit);

  if (!units.kept) {
    destination.length_flag = 0;
    destination.factor = 1.0;
    return;
  }
  destination.length_flag = length_flag;
  bool known = length_flag == 0 || unit_of_factor(factor) != nullptr;
  destination.factor = known ? factor : metre_factor;
}

void qu_formats_reset() {
  double factor = units.kept ? metre_factor : 0.0;
  for (qd_format_record* record : {&units.distance, &units.axis_x, &units.axis_y, &units.axis_z})
    qu_format_set("Decimal", "10", "2", "m", 1, factor, *record);
}

}  // namespace qrd
