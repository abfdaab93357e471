#include "samples/qd_convert.h"
#include "samples/qd_selection_rows.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

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
