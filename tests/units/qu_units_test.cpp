#include "units/qu_units.h"

#include <sstream>

#include "support/test.h"

namespace qrd::test {
namespace {

struct unit_formats : testing::Test {
  void TearDown() override { units = {}; }
};

qd_format_record set(const char* format, const char* width, const char* digits, const char* unit,
                     std::int64_t length_flag, double factor) {
  qd_format_record record;
  qu_format_set(format, width, digits, unit, length_flag, factor, record);
  return record;
}
std::string told(const qd_format_record& of) {
  std::ostringstream text;
  text << of.format << " " << of.width << " " << of.digits << " " << of.length_flag << " " << of.unit << " "
       << of.factor;
  return text.str();
}

TEST_F(unit_formats, symbols_and_factors_find_their_units) {
  const std::vector<std::pair<std::string, double>> expected = {
      {"micr", 1e-4},   {"mm", 0.1},         {"cm", 1},    {"dm", 10},    {"m", 100},    {"dam", 1e3},
      {"hm", 1e4},      {"km", 1e5},         {"in", 2.54}, {"ft", 30.48}, {"yd", 91.44}, {"mile", 160934.4},
      {"nmil", 185200}, {"dakm", 1000000.0}, {"hkm", 1e7}, {"kkm", 1e8}};
  ASSERT_EQ(std::size(length_units), expected.size());
  for (const auto& [symbol, factor] : expected) {
    double found = 0;
    EXPECT_EQ(qu_unit_factor(symbol.c_str(), &found), 1) << symbol;
    EXPECT_EQ(found, factor) << symbol;
  }
  EXPECT_STREQ(qu_unit_name(30.48), "Foot");
  EXPECT_STREQ(qu_unit_name(1000000.0), "10 Kilometers");
  double factor = 7;
  EXPECT_EQ(qu_unit_factor("Ft", &factor), 0);
  EXPECT_EQ(factor, 1.0);
  EXPECT_EQ(qu_unit_name(30.5), nullptr);
}

TEST_F(unit_formats, a_study_without_units_has_no_factors) {
  units.kept = false;
  double factor = 7;
  EXPECT_EQ(qu_unit_factor("km", &factor), 1);
  EXPECT_EQ(factor, 1.0);
  qu_formats_reset();
  for (const qd_format_record& record : {units.distance, units.axis_x, units.axis_y, units.axis_z})
    EXPECT_EQ(told(record), "2 10 2 0 m 1");
}

TEST_F(unit_formats, formats_come_from_the_words_of_a_parameter_file) {
  EXPECT_EQ(told(set("Shifted", "19", "9", "ft", 1, 30.48)), "4 19 9 1 ft 30.48");
  EXPECT_EQ(set("Decimal", "4", "9", "", 0, 1).digits, 1);
  EXPECT_EQ(set("Decimal", "3", "2", "", 0, 1).digits, 0);
  EXPECT_EQ(set("Exponent", "10", "5", "", 0, 1).digits, 0);
  EXPECT_EQ(set("decimal", "10", "5", "", 0, 1).format, FORMAT_FREE);
  for (const char* word : {"20", "2", "", "010", "+5", "5 ", "99999999999999999999"})
    EXPECT_EQ(set("Free", word, "0", "", 0, 1).width, 13) << word;
  EXPECT_EQ(set("Decimal", "10", "10", "", 0, 1).digits, 0);
}

TEST_F(unit_formats, only_a_length_needs_a_factor_of_the_table) {
  EXPECT_EQ(set("Free", "10", "0", "x", 1, 30.5).factor, 100.0);
  EXPECT_EQ(set("Free", "10", "0", "x", 0, 30.5).factor, 30.5);
  EXPECT_STREQ(set("Free", "10", "0", "exactlyten", 0, 1).unit, "exactlyten");
  EXPECT_STREQ(set("Free", "10", "0", "eleven char", 0, 1).unit, "eleven ch*");
}

TEST_F(unit_formats, a_reset_gives_metres_to_all_four_formats) {
  qd_format_record feet = set("Free", "5", "0", "ft", 1, 30.48);
  qu_format_copy(feet, units.distance);
  for (int axis = 0; axis < 3; ++axis) qu_format_copy(feet, units.axis(axis));
  qu_formats_reset();
  for (const qd_format_record& record : {units.distance, units.axis_x, units.axis_y, units.axis_z})
    EXPECT_EQ(told(record), "2 10 2 1 m 100");
}

}  // namespace
}  // namespace qrd::test
