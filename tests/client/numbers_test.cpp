#include "qrd/numbers.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <random>

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

// What is written quickly is what the library of the language writes.
TEST(numbers, of_few_places_are_the_shortest) {
  std::mt19937_64 chance(3);
  for (int i = 0; i < 200000; ++i) {
    const auto whole = static_cast<double>(chance() >> (chance() % 64));
    const double value = (i % 2 == 0 ? whole : -whole) / std::pow(10, static_cast<double>(chance() % 7));
    char text[32];
    const std::string shortest(text, std::to_chars(text, text + sizeof text, value).ptr);
    ASSERT_EQ(number_text(value), shortest);
  }
  for (const char* text :
       {"0", "-0", "0.001", "0.0012", "1e-04", "1e+05", "123450", "10000", "-0.5", "999999999.9999"})
    EXPECT_EQ(number_text(*parse_number(text)), text);
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
