#include "qrd/units.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "qrd/error.h"
#include "qrd/wire.h"

namespace qrd::client {

namespace {

constexpr length_unit units[] = {
    {"micr", "Micron", 0.0001},
    {"mm", "Millimeter", 0.1},
    {"cm", "Centimeter", 1},
    {"dm", "Decimeter", 10},
    {"m", "Meter", 100},
    {"dam", "Decameter", 1000},
    {"hm", "Hectometer", 10000},
    {"km", "Kilometer", 100000},
    {"in", "Inch", 2.54},
    {"ft", "Foot", 30.48},
    {"yd", "Yard", 91.44},
    {"mile", "Mile", 160934.4},
    {"nmil", "Nautical Mile", 185200},
    {"dakm", "10 Kilometers", 1000000},
    {"hkm", "100 Kilometers", 10000000},
    {"kkm", "1000 Kilometers", 100000000},
};

// Other words for them, in lower case.
constexpr std::pair<std::string_view, std::string_view> other_words[] = {
    {"feet", "ft"},        {"'", "ft"},           {"inches", "in"}, {"\"", "in"},
    {"mi", "mile"},        {"nmi", "nmil"},       {"nm", "nmil"},   {"um", "micr"},
    {"\xC2\xB5m", "micr"}, {"\xCE\xBCm", "micr"}, {"mtr", "m"},
};

const length_unit* find_unit(std::string_view symbol) {
  const auto* found =
      std::find_if(std::begin(units), std::end(units), [&](const auto& one) { return one.symbol == symbol; });
  return found == std::end(units) ? nullptr : found;
}

std::string lower_case(std::string_view text) {
  std::string lower;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte != ' ' && byte != '.') lower += static_cast<char>(byte < 0x80 ? std::tolower(byte) : byte);
  }
  return lower;
}

// Spelt as the names of the table: "metres" becomes "meter".
std::string table_spelling(std::string text) {
  if (text.size() > 3 && text.ends_with('s')) text.pop_back();
  if (text.ends_with("metre")) text.replace(text.size() - 2, 2, "er");
  return text;
}

std::string in_quotes(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

void check_room(std::string_view text) {
  if (text.size() > max_unit)
    throw error("a unit has at most " + std::to_string(max_unit) + " characters: " + in_quotes(text));
}

}  // namespace

std::span<const length_unit> length_units() {
  return units;
}

std::optional<double> length_factor(std::string_view symbol) {
  const length_unit* unit = find_unit(symbol);
  return unit == nullptr ? std::nullopt : std::optional(unit->centimetres);
}

std::optional<std::string> near_length_symbol(std::string_view text) {
  if (find_unit(text) != nullptr) return std::nullopt;
  const std::string lower = lower_case(text);
  for (const auto& [word, symbol] : other_words)
    if (lower == word) return std::string(symbol);
  const std::string spelt = table_spelling(lower);
  for (const length_unit& unit : units)
    if (lower == unit.symbol || spelt == unit.symbol || spelt == table_spelling(lower_case(unit.name)))
      return std::string(unit.symbol);
  return std::nullopt;
}

void check_length_symbol(std::string_view text) {
  if (find_unit(text) != nullptr) return;
  const auto meant = near_length_symbol(text);
  throw error(in_quotes(text) + " is not the symbol of a length unit" +
              (meant ? ", write " + in_quotes(*meant) : "; \"qrd units\" lists them"));
}

void check_unit(std::string_view text) {
  check_room(text);
  if (const auto meant = near_length_symbol(text))
    throw error("the unit " + in_quotes(text) + " is nearly a length: write " + in_quotes(*meant) +
                " for one, or give it as --unit-text if it is mere text");
}

void check_unit_text(std::string_view text) {
  check_room(text);
  if (find_unit(text) != nullptr)
    throw error("the text " + in_quotes(text) + " is the symbol of a length unit and makes a length");
}

std::string value_unit(const variable_info& info) {
  if (!info.has_unit.value_or(false)) return info.unit;
  const auto* found = std::find_if(std::begin(units), std::end(units),
                                   [&](const auto& one) { return one.name == info.unit; });
  return found == std::end(units) ? info.unit_symbol.value_or(info.unit) : std::string(found->symbol);
}

}  // namespace qrd::client
