#include "units/qu_units.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qrd {
namespace {

class unit_formats : public testing::Test {
 protected:
  void TearDown() override { units = {}; }
};

qd_format_record set(const char* format, const char* width, const char* digits, const char* unit,
                     std::int64_t length_flag, double factor) {
  qd_format_record record;
  qu_format_set(format, width, digits, unit, length_flag, factor, record);
  return record;
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
  for (const qd_format_record& record : {units.distance, units.axis_x, units.axis_y, units.axis_z}) {
    EXPECT_EQ(record.length_flag, 0);
    EXPECT_EQ(record.factor, 1.0);
    EXPECT_STREQ(record.unit, "m");
  }
}

TEST_F(unit_formats, formats_come_from_the_words_of_a_parameter_file) {
  qd_format_record record = set("Shifted", "19", "9", "ft", 1, 30.48);
  EXPECT_EQ(record.format, FORMAT_SHIFTED);
  EXPECT_EQ(record.width, 19);
  EXPECT_EQ(record.digits, 9);
  EXPECT_EQ(record.length_flag, 1);
  EXPECT_STREQ(record.unit, "ft");
  EXPECT_EQ(record.factor, 30.48);

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
  for (const qd_format_record& record : {units.distance, units.axis_x, units.axis_y, units.axis_z}) {
    EXPECT_EQ(record.format, FORMAT_DECIMAL);
    EXPECT_EQ(record.width, 10);
    EXPECT_EQ(record.digits, 2);
    EXPECT_EQ(record.length_flag, 1);
    EXPECT_STREQ(record.unit, "m");
    EXPECT_EQ(record.factor, 100.0);
  }
}

}  // namespace
}  // namespace qrd
