// Writes over the wire against a model of the stored bits, and what reads make of them.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/database.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

using client::sample_range;
using client::selection_use;

constexpr std::int64_t samples = 13;  // no multiple of 8: columns of a macro begin inside a byte
constexpr std::int64_t capacity = 512;

// A study with a points file "P", and "S" that selects some of its samples.
class transfer : public testing::TestWithParam<int>, protected served_study {
 protected:
  transfer() {
    to().new_points("P", 2, std::vector<double>(2 * samples, 1.0));
    to().set_file("P");
    to().new_float_variable("S", 1);
    to().set_variable("S");
    to().write_selection(selected_);
  }

  // The data file of the variable that was made last.
  std::string newest_data_file() const {
    const std::string file = root / "Study/QRD/DIRE.1/FILE.1/VARI.";
    int number = 1;
    while (std::filesystem::exists(file + std::to_string(number + 1))) ++number;
    return file + std::to_string(number) + "/DATAVAR";
  }

  const std::vector<std::uint8_t> selected_ = {1, 0, 0, 1, 1, 1, 0, 1, 0, 0, 0, 1, 0};
};

// What a client gets back of a number that it wrote.
double stored_and_read(double value, int bits) {
  if (bits == 1) return value == 1.0 ? 1.0 : 0.0;
  if (value == missing_double) return value;
  if (bits == 64) return value;
  if (bits == 32) return static_cast<float>(value);
  return static_cast<double>(static_cast<std::int64_t>(value));
}

// Every range of every column of a macro variable, without a selection and under one, masked and compressed.
TEST_P(transfer, of_numbers_changes_these_bits_alone) {
  const int bits = GetParam();
  client::number_format format;
  to().new_macro_variable("M[xxxxx]", bits, format, "ppm");
  to().set_variable("M[xxxxx]");
  to().add_macro_indices(std::vector<std::int32_t>{7, 3, 12});
  const std::string path = newest_data_file();
  std::string model = to_bits(read_file(path));
  ASSERT_EQ(model.size(), static_cast<std::size_t>(3 * capacity * bits));
  tree_image before = image_of(root.path());

  std::mt19937 random(static_cast<unsigned>(bits));
  const double largest = bits == 1 ? 2.0 : bits < 32 ? static_cast<double>((1 << bits) - 1) : 1e9;
  std::uniform_real_distribution<double> number(0, largest);
  const std::int32_t column_index[] = {7, 3, 12};
  for (int column = 0; column < 3; ++column) {
    to().set_index(column_index[column]);
    for (std::int64_t first = 1; first <= samples; ++first) {
      for (std::int64_t last = first; last <= samples; last += 3) {
        const int variant = static_cast<int>((first + last + column) % 3);
        const auto use = variant == 2 ? selection_use::compressed : selection_use::masked;
        to().set_selection(variant == 0 ? "" : "S");
        std::vector<double> values;
        std::vector<double> expected;
        for (std::int64_t sample = first; sample <= last; ++sample) {
          const bool is_kept = variant == 0 || selected_[static_cast<std::size_t>(sample - 1)] != 0;
          if (!is_kept && use == selection_use::compressed) continue;
          double value = number(random);
          if (bits == 1) value = value < 1 ? 0 : 1;
          if (random() % 5 == 0) value = -999;
          values.push_back(value);
          const double wanted = value == -999 ? missing_double : value;
          if (is_kept)
            model.replace(static_cast<std::size_t>((column * samples + sample - 1) * bits),
                          static_cast<std::size_t>(bits), stored_bits(wanted, bits));
          expected.push_back(is_kept ? stored_and_read(wanted, bits) : missing_double);
        }
        SCOPED_TRACE("column " + std::to_string(column) + " samples " + std::to_string(first) + " to " +
                     std::to_string(last) + " variant " + std::to_string(variant));
        to().write_floats(values, sample_range{first, last}, use, -999);
        ASSERT_EQ(to_bits(read_file(path)), model);
        ASSERT_EQ(to().read_floats(sample_range{first, last}, use).values, expected);
      }
    }
  }
  const std::vector<std::string> changed = changes(before, image_of(root.path()));
  ASSERT_EQ(changed.size(), 1u);
  EXPECT_EQ(root / changed[0], path);
}

INSTANTIATE_TEST_SUITE_P(at_every_bit_length, transfer, testing::Values(1, 2, 4, 8, 16, 32, 64));

// A column of a macro of selections starts inside a byte; whole and partial writes differ in what counts
// as 1.
TEST_F(transfer, of_selections) {
  to().new_macro_variable("B[xxxxx]", 1);
  to().set_variable("B[xxxxx]");
  to().add_macro_indices(std::vector<std::int32_t>{1, 2});
  const std::string path = newest_data_file();
  std::string model = to_bits(read_file(path));
  const std::vector<std::uint8_t> bytes = {1, 0, 2, 0, 1, 255, 0, 0, 1, 1, 0, 0, 2};
  to().set_index(2);
  to().write_selection(bytes);
  for (std::size_t i = 0; i < bytes.size(); ++i) model[samples + i] = bytes[i] != 0 ? '0' : '1';
  EXPECT_EQ(to_bits(read_file(path)), model);
  std::vector<std::uint8_t> as_read = bytes;
  for (std::uint8_t& byte : as_read) byte = byte != 0;
  EXPECT_EQ(to().read_selection(), as_read);

  // Of a part, the byte 1 alone selects.
  to().write_selection(std::vector<std::uint8_t>{2, 1, 0}, sample_range{5, 7});
  model.replace(samples + 4, 3, "101");
  EXPECT_EQ(to_bits(read_file(path)), model);

  // Under a selection the others keep their bits.
  to().set_selection("S");
  to().write_selection(std::vector<std::uint8_t>(samples, 1));
  for (std::size_t i = 0; i < selected_.size(); ++i)
    if (selected_[i] != 0) model[samples + i] = '0';
  EXPECT_EQ(to_bits(read_file(path)), model);
  EXPECT_EQ(refusal_of([&] {
              to().write_selection(std::vector<std::uint8_t>(2), sample_range{1, 3});
            }),
            "Array size does not match non-compressed selection (2/3 samples)");
}

}  // namespace
}  // namespace qrd::test
