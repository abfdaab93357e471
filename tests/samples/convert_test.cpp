#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

#include "samples/qd_read_write.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

// The engine keeps 32 and 64 bits in host order: as the file has them, item by item.
std::string in_file_order(std::string data, int bit_length) {
  std::size_t item = static_cast<std::size_t>(bit_length) / 8;
  if (bit_length < 32 || std::endian::native == std::endian::big) return data;
  for (std::size_t i = 0; i + item <= data.size(); i += item)
    std::reverse(data.begin() + static_cast<std::ptrdiff_t>(i),
                 data.begin() + static_cast<std::ptrdiff_t>(i + item));
  return data;
}

// Values that a bit length can hold, every one of the small ones, and the missing value.
std::vector<double> storable(int bit_length) {
  if (bit_length == 1)
    return {1.0, 0.0, 0.0, 1.0, 1.0, 0.0, 1.0, 1.0, 1.0, 0.0, 0.0, 1.0, 0.0, 1.0, 0.0, 0.0, 1.0};
  std::vector<double> values = {2, missing_double, 0, 1, 1, missing_double, 2, 0};
  if (bit_length > 2)
    for (int i = 0; i < 15; ++i) values.push_back(i);
  if (bit_length > 4) values.insert(values.end(), {254, 15, 100});
  if (bit_length > 8) values.insert(values.end(), {65534, 255, 256, 4660});
  if (bit_length > 16) values.insert(values.end(), {-1.5, 1e30, 1234567.25, -0.0});
  return values;
}

TEST(convert, stores_and_reads_every_bit_length_at_every_alignment) {
  for (int bit_length : {1, 2, 4, 8, 16, 32, 64}) {
    const std::vector<double> values = storable(bit_length);
    std::vector<double> read_back = values;
    if (bit_length == 32) std::replace(read_back.begin(), read_back.end(), 1e30, static_cast<double>(1e30F));
    auto count = static_cast<std::int64_t>(values.size());
    for (std::int64_t first = 1; first <= 17; ++first) {
      SCOPED_TRACE(std::to_string(bit_length) + " bits from " + std::to_string(first));
      std::string bits(static_cast<std::size_t>((first - 1) * bit_length % 8), '0');
      for (double value : values) bits += stored_bits(value, bit_length);
      std::string expected = from_bits(bits);

      std::vector<double> buffer = values;
      _qd_file_encode(buffer.data(), first, first + count - 1, bit_length, buffer.data());
      std::string stored(reinterpret_cast<char*>(buffer.data()), expected.size());
      EXPECT_EQ(in_file_order(stored, bit_length), expected);

      _qd_file_decode(buffer.data(), first, first + count - 1, bit_length, buffer.data());
      EXPECT_EQ(buffer, read_back);
    }
  }
}

TEST(convert, rules_for_values_that_do_not_fit) {
  auto round_trip = [](double value, int bit_length) {
    double result = 0;
    std::vector<unsigned char> stored(8);
    _qd_file_encode(&value, 1, 1, bit_length, stored.data());
    _qd_file_decode(stored.data(), 1, 1, bit_length, &result);
    return result;
  };
  const double m = missing_double;
  struct {
    int bit_length;
    double value, expected;
  } const rows[] = {
      {1, 1.0, 1.0},   {1, 0.999, 0.0}, {1, 2.0, 0.0},         {1, m, 0.0},      {1, not_a_number, 0.0},
      {2, 2.99, 2.0},  {2, 3.0, m},     {2, 3.5, m},           {2, -0.5, m},     {2, m, m},
      {4, 2.7, 2.0},   {4, 14.9, 14.0}, {4, 15.0, m},          {4, 16.0, m},     {4, not_a_number, m},
      {8, 254.9, 254}, {8, 255.0, m},   {8, 255.5, m},         {8, -1e-300, m},  {8, infinite, m},
      {8, -0.0, 0.0},  {8, 1e300, m},   {8, not_a_number, m},  {16, 65535.0, m}, {16, 65534.9, 65534},
      {16, 1e10, m},   {16, -1.0, m},   {16, not_a_number, m}, {32, 1.5e30, m},  {32, -1.5e30, m},
      {32, m, m},      {32, 0.1, 0.1F}, {32, infinite, m},     {32, 1e-60, 0.0}, {32, not_a_number, m},
      {64, 2e30, m},   {64, -2e30, m},  {64, -infinite, m},    {64, 1e30, 1e30}, {64, not_a_number, m},
      {64, m, m},
  };
  for (const auto& row : rows)
    EXPECT_EQ(round_trip(row.value, row.bit_length), row.expected)
        << row.bit_length << " bits of " << row.value;
}

TEST(convert, bits_move_between_any_two_places) {
  const std::string source = noise(8, 7);
  for (int from = 0; from < 8; ++from)
    for (int to = 0; to < 8; ++to)
      for (std::size_t count = 1; count <= 41; ++count) {
        std::string expected = from_bits(std::string(static_cast<std::size_t>(7 - to), '0') +
                                         to_bits(source).substr(static_cast<std::size_t>(7 - from), count));
        std::string result(expected.size(), '\xAA');
        qd_bits_shift(reinterpret_cast<const unsigned char*>(source.data()),
                      reinterpret_cast<unsigned char*>(result.data()), from, to,
                      static_cast<std::int64_t>(count));
        ASSERT_EQ(result, expected) << from << " to " << to << ", " << count << " bits";
      }
}

TEST(convert, counts_bits_of_a_range) {
  const std::string data = noise(6, 3);
  const std::string bits = to_bits(data);
  for (std::size_t first = 1; first <= 48; ++first)
    for (std::size_t last = first; last <= 48; ++last) {
      std::string range = bits.substr(first - 1, last - first + 1);
      ASSERT_EQ(qd_count_bits(reinterpret_cast<const unsigned char*>(data.data()),
                              static_cast<std::int64_t>(first), static_cast<std::int64_t>(last)),
                std::count(range.begin(), range.end(), '1'));
    }
}

}  // namespace
}  // namespace qrd::test
