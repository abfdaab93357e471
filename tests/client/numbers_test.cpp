#include "qrd/numbers.h"

#include <gtest/gtest.h>

namespace qrd::client {
namespace {

TEST(numbers, are_read_whole_or_not_at_all) {
  EXPECT_EQ(parse_number("1.5"), 1.5);
  EXPECT_EQ(parse_number(" +1e3 "), 1000);
  EXPECT_EQ(parse_number("-.5"), -0.5);
  for (const char* text : {"", " ", "1.5x", "1,5", "nan", "inf", "1e999", "+-1", "0x10", "Ah"})
    EXPECT_EQ(parse_number(text), std::nullopt) << text;
}

TEST(numbers, are_written_so_that_they_read_back) {
  for (double value : {0.1, 1.0 / 3, 5e-324, 1.7976931348623157e308, -123456789.125, 0.0})
    EXPECT_EQ(parse_number(number_text(value)), value);
  EXPECT_EQ(number_text(27900713), "27900713");
}

TEST(numbers, of_single_precision_are_short_and_stored_the_same) {
  EXPECT_EQ(single_text(static_cast<double>(0.02F), 1), "0.02");
  EXPECT_EQ(single_text(static_cast<double>(0.02F), 30.48), "0.02");
  EXPECT_EQ(single_text(static_cast<double>(16777216.0F), 1), "16777216");
  // 790.9 cm in single precision, told in metres.
  const double metres = static_cast<double>(790.9F) / 100;
  EXPECT_EQ(single_text(metres, 100), "7.909");
  for (float stored : {1.0F / 3, 3.4e38F, 1e-45F, 12345.678F, -0.1F}) {
    const double told = static_cast<double>(stored) / 30.48;
    const double read_back = *parse_number(single_text(told, 30.48));
    EXPECT_EQ(static_cast<float>(read_back * 30.48), static_cast<float>(told * 30.48));
  }
}

TEST(numbers, of_lengths_are_round_where_they_were) {
  const double told = 820 * 30.48 / 30.48;
  EXPECT_NE(told, 820);
  EXPECT_EQ(length_text(told, 30.48), "820");
  for (double value : {7.909, 1.0 / 3, 2301130.51, 1e-300}) {
    const double read = value * 30.48 / 30.48;
    EXPECT_EQ(*parse_number(length_text(read, 30.48)) * 30.48 / 30.48, read);
  }
}

TEST(numbers, fit_their_bits) {
  EXPECT_TRUE(fits_bits(1, 1));
  EXPECT_FALSE(fits_bits(2, 1));
  for (std::int32_t bits : {2, 4, 8, 16}) {
    const double highest = static_cast<double>((1 << bits) - 1);
    EXPECT_TRUE(fits_bits(highest - 1, bits));
    EXPECT_FALSE(fits_bits(highest, bits));
    EXPECT_FALSE(fits_bits(-1, bits));
    EXPECT_FALSE(fits_bits(0.5, bits));
  }
  EXPECT_TRUE(fits_bits(-0.5, 32));
  for (std::int32_t bits : {32, 64}) {
    EXPECT_TRUE(fits_bits(-1e30, bits));
    EXPECT_FALSE(fits_bits(1.1e30, bits));
  }
}

}  // namespace
}  // namespace qrd::client
