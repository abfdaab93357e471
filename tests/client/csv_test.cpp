#include "command/csv.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "qrd/error.h"
#include "qrd/numbers.h"

namespace qrd::command {
namespace {

std::string written(const std::vector<std::vector<std::string>>& rows) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&text, &size);
  csv_writer writer(stream);
  for (const auto& row : rows) {
    for (const std::string& cell : row) writer.cell(cell);
    writer.end_row();
  }
  writer.flush();
  std::fclose(stream);
  std::string result(text, size);
  std::free(text);
  return result;
}

TEST(csv_writer, quotes_what_needs_it) {
  EXPECT_EQ(written({{"a", "b,c", "d\"e", "f\ng"}, {"", "", "", " "}}),
            "a,\"b,c\",\"d\"\"e\",\"f\ng\"\n,,, \n");
  EXPECT_EQ(written({{"a"}, {""}, {"b"}}), "a\n\"\"\nb\n");
}

TEST(csv_writer, tells_a_full_device) {
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  csv_writer writer(full);
  writer.cell("a");
  writer.end_row();
  EXPECT_THROW(writer.flush(), client::error);
  std::fclose(full);
}

TEST(numbers, are_read_whole_or_not_at_all) {
  EXPECT_EQ(client::parse_number("1.5"), 1.5);
  EXPECT_EQ(client::parse_number(" +1e3 "), 1000);
  EXPECT_EQ(client::parse_number("-.5"), -0.5);
  for (const char* text : {"", " ", "1.5x", "1,5", "nan", "inf", "1e999", "+-1", "0x10", "Ah"})
    EXPECT_EQ(client::parse_number(text), std::nullopt) << text;
}

TEST(numbers, are_written_so_that_they_read_back) {
  for (double value : {0.1, 1.0 / 3, 5e-324, 1.7976931348623157e308, -123456789.125, 0.0})
    EXPECT_EQ(client::parse_number(client::number_text(value)), value);
  EXPECT_EQ(client::number_text(27900713), "27900713");
}

TEST(numbers, of_single_precision_are_short_and_stored_the_same) {
  EXPECT_EQ(client::single_text(static_cast<double>(0.02F), 1), "0.02");
  EXPECT_EQ(client::single_text(static_cast<double>(0.02F), 30.48), "0.02");
  EXPECT_EQ(client::single_text(static_cast<double>(16777216.0F), 1), "16777216");
  // 790.9 cm in single precision, told in metres.
  const double metres = static_cast<double>(790.9F) / 100;
  EXPECT_EQ(client::single_text(metres, 100), "7.909");
  for (float stored : {1.0F / 3, 3.4e38F, 1e-45F, 12345.678F, -0.1F}) {
    const double told = static_cast<double>(stored) / 30.48;
    const double read_back = *client::parse_number(client::single_text(told, 30.48));
    EXPECT_EQ(static_cast<float>(read_back * 30.48), static_cast<float>(told * 30.48));
  }
}

TEST(numbers, of_lengths_are_round_where_they_were) {
  const double told = 820 * 30.48 / 30.48;
  EXPECT_NE(told, 820);
  EXPECT_EQ(client::length_text(told, 30.48), "820");
  for (double value : {7.909, 1.0 / 3, 2301130.51, 1e-300}) {
    const double read = value * 30.48 / 30.48;
    EXPECT_EQ(*client::parse_number(client::length_text(read, 30.48)) * 30.48 / 30.48, read);
  }
}

TEST(numbers, fit_their_bits) {
  EXPECT_TRUE(client::fits_bits(1, 1));
  EXPECT_FALSE(client::fits_bits(2, 1));
  for (std::int32_t bits : {2, 4, 8, 16}) {
    const double highest = static_cast<double>((1 << bits) - 1);
    EXPECT_TRUE(client::fits_bits(highest - 1, bits));
    EXPECT_FALSE(client::fits_bits(highest, bits));
    EXPECT_FALSE(client::fits_bits(-1, bits));
    EXPECT_FALSE(client::fits_bits(0.5, bits));
  }
  EXPECT_TRUE(client::fits_bits(-0.5, 32));
  for (std::int32_t bits : {32, 64}) {
    EXPECT_TRUE(client::fits_bits(-1e30, bits));
    EXPECT_FALSE(client::fits_bits(1.1e30, bits));
  }
}

}  // namespace
}  // namespace qrd::command
