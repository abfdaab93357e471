#include "qrd/units.h"

#include <gtest/gtest.h>

#include "qrd/error.h"

namespace qrd::client {
namespace {

TEST(units, near_symbols_are_told) {
  const std::pair<const char*, const char*> near[] = {
      {"feet", "ft"},      {"FT", "ft"},
      {"Foot", "ft"},      {"metre", "m"},
      {"meters", "m"},     {"Metres", "m"},
      {"M", "m"},          {"Km", "km"},
      {"kilometre", "km"}, {"inches", "in"},
      {"yards", "yd"},     {"miles", "mile"},
      {"MM", "mm"},        {"nautical miles", "nmil"},
      {"ft.", "ft"},       {"\xC2\xB5m", "micr"},
  };
  for (const auto& [text, symbol] : near) EXPECT_EQ(near_length_symbol(text), symbol) << text;
  for (const length_unit& unit : length_units()) {
    EXPECT_EQ(near_length_symbol(unit.symbol), std::nullopt);
    EXPECT_EQ(near_length_symbol(unit.name), unit.symbol);
  }
  for (const char* text : {"", "%", "ppm", "g/t", "s", "t/m3", "ms", "fts2", "min"})
    EXPECT_EQ(near_length_symbol(text), std::nullopt) << text;
  EXPECT_EQ(length_factor("ft"), 30.48);
  EXPECT_EQ(length_factor("Ft"), std::nullopt);
}

TEST(units, texts_and_symbols_are_kept_apart) {
  check_unit("m");
  check_unit("%");
  check_unit("");
  EXPECT_THROW(check_unit("feet"), error);
  EXPECT_THROW(check_unit("eleven char"), error);
  check_unit_text("feet");
  EXPECT_THROW(check_unit_text("ft"), error);
  check_length_symbol("dakm");
  for (const char* text : {"feet", "%", ""}) EXPECT_THROW(check_length_symbol(text), error);
}

// A length that is shown with the symbol of another unit travels in its own.
TEST(units, of_values_are_not_the_shown_ones) {
  variable_info info;
  info.has_unit = true;
  info.unit = "Kilometer";
  info.unit_symbol = "_m";
  EXPECT_EQ(value_unit(info), "km");
  info.has_unit = false;
  info.unit = info.unit_symbol.emplace("%");
  EXPECT_EQ(value_unit(info), "%");
}

}  // namespace
}  // namespace qrd::client
