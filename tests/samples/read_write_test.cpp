// The range operations against a model that knows the data file as a text of bits.

#include "samples/qd_read_write_char.h"
#include "samples/qd_selection_rows.h"
#include "support/processes.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

constexpr std::int64_t all_samples = 13;  // no multiple of 8: the columns of a macro start inside a byte

// One sample of a data file, told from its bits.
double model_value(const std::string& bits, std::int64_t sample, int bit_length) {
  std::string field =
      bits.substr(static_cast<std::size_t>((sample - 1) * bit_length), static_cast<std::size_t>(bit_length));
  std::uint64_t image = 0;
  for (char bit : field) image = image << 1 | (bit == '1' ? 1 : 0);
  if (bit_length == 1) return image == 0 ? 1.0 : 0.0;
  if (bit_length == 64) return std::bit_cast<double>(image);
  if (bit_length == 32) {
    auto item = std::bit_cast<float>(static_cast<std::uint32_t>(image));
    return image == 0x7EB9BF36 ? missing_double : static_cast<double>(item);
  }
  return image + 1 == std::uint64_t{1} << bit_length ? missing_double : static_cast<double>(image);
}

bool same(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

// A macro of three columns with patternless bits behind each other, and a selection of the same kind.
struct ranges : testing::TestWithParam<int> {
  ranges() : study_({.samples = all_samples}) {
    const auto bits = static_cast<std::size_t>(GetParam());
    data_ = noise(5 * bits + 1, static_cast<std::uint32_t>(GetParam()));
    mask_ = noise(8, 99);
    path_ = study_.add_macro("M[xxxxx]", GetParam(), data_, {1, 2, 3}) + "/DATAVAR";
    study_.add_macro("S[xxxxx]", 1, mask_, {1, 2});
  }
  static std::string column(int slot) { return "M[" + std::to_string(slot + 1) + "]"; }
  // Whether the second column of the selection leaves a sample out.
  bool left_out(std::int64_t sample) const {
    return to_bits(mask_)[static_cast<std::size_t>(all_samples + sample - 1)] == '1';
  }

  sample_study study_;
  std::string data_, mask_, path_;
};

TEST_P(ranges, reads_every_range_of_every_column) {
  const std::string bits = to_bits(data_);
  for (int slot = 0; slot < 3; ++slot) {
    bound all(column(slot).c_str());
    bound selected(column(slot).c_str(), "S[2]");
    for (std::int64_t first = 1; first <= all_samples; ++first)
      for (std::int64_t last = first; last <= all_samples; ++last) {
        std::vector<double> plain, masked, compressed;
        for (std::int64_t s = first; s <= last; ++s) {
          plain.push_back(model_value(bits, slot * all_samples + s, GetParam()));
          masked.push_back(left_out(s) ? missing_double : plain.back());
          if (!left_out(s)) compressed.push_back(plain.back());
        }
        auto check = [&](std::int64_t io, selection_mode mode, const std::vector<double>& expected) {
          std::vector<double> values(plain.size());
          std::int64_t count = -1;
          ASSERT_TRUE(read_numbers(io, mode, first, last, &count, values));
          values.resize(static_cast<std::size_t>(count));
          ASSERT_TRUE(std::equal(values.begin(), values.end(), expected.begin(), expected.end(), same))
              << "column " << slot << ", " << first << " to " << last << ", mode " << mode;
        };
        check(all.io(), SEL_COMPRESSED, plain);
        check(all.io(), SEL_MASKED, plain);
        check(selected.io(), SEL_COMPRESSED, compressed);
        check(selected.io(), SEL_MASKED, masked);
      }
  }
}

// Without a selection and under one, masked and compressed: these bits change, and no others.
TEST_P(ranges, writes_every_range_of_every_column) {
  const int bits = GetParam();
  std::string model = to_bits(data_);
  std::minstd_rand random(static_cast<unsigned>(bits));
  const auto number = [&] {
    if (random() % 5 == 0) return missing_double;
    const auto any = static_cast<std::int64_t>(random());
    return bits < 32 ? static_cast<double>(any % (bits == 1 ? 2 : (1 << bits) - 1))
                     : static_cast<double>(any) / 8;
  };
  for (int slot = 0; slot < 3; ++slot) {
    bound all(column(slot).c_str()), selected(column(slot).c_str(), "S[2]");
    for (std::int64_t first = 1; first <= all_samples; ++first)
      for (std::int64_t last = first; last <= all_samples; ++last)
        for (bool masked : {false, true})
          for (selection_mode mode : {SEL_MASKED, SEL_COMPRESSED}) {
            std::vector<double> values;
            for (std::int64_t s = first; s <= last; ++s) {
              const bool is_kept = !masked || !left_out(s);
              if (!is_kept && mode == SEL_COMPRESSED) continue;
              values.push_back(number());
              if (is_kept)
                model.replace(static_cast<std::size_t>((slot * all_samples + s - 1) * bits),
                              static_cast<std::size_t>(bits), stored_bits(values.back(), bits));
            }
            ASSERT_TRUE(qd_write_float_free(masked ? selected.io() : all.io(), mode, first, last, values));
            ASSERT_EQ(to_bits(read_file(path_)), model)
                << "column " << slot << ", " << first << " to " << last << ", mode " << mode;
          }
  }
}

INSTANTIATE_TEST_SUITE_P(bits, ranges, testing::Values(1, 2, 4, 8, 16, 32, 64));

TEST(read_write, a_file_that_ends_early) {
  sample_study study({.samples = 20});
  study.add("short8", VAR_FLOAT, 8, "\x05\x06");
  study.add("short2", VAR_FLOAT, 2, "\x1B");
  study.add("short1", VAR_FLOAT, 1, std::string_view("\0", 1));
  study.add("short32", VAR_FLOAT, 32, std::string(79, '\0'));
  study.add("empty", VAR_FLOAT, 8, "");
  std::vector<double> values(20, -1);
  auto read = [&](const char* name) {
    bound target(name);
    std::int64_t count = 0;
    return read_numbers(target.io(), SEL_MASKED, 1, 20, &count, values);
  };
  const auto expect_read = [&](const char* name, std::vector<double> expected, double rest) {
    expected.resize(20, rest);
    EXPECT_TRUE(read(name));
    EXPECT_EQ(values, expected);
  };
  expect_read("short8", {5, 6}, missing_double);
  expect_read("short2", {0, 1, 2}, missing_double);
  expect_read("short1", std::vector<double>(8, 1), 0);
  // What can't be told is refused, and the console says where.
  for (const char* name : {"short32", "empty"})
    EXPECT_TRUE(console_of([&] { EXPECT_FALSE(read(name)) << name; }).ends_with("The file is too short\n"));
}

TEST(read_write, passes_join_without_a_seam) {
  // Three passes, in a column that starts inside a byte.
  constexpr std::int64_t many = 2 * samples_chunk + 77;
  sample_study study({.samples = many});
  const std::string before(static_cast<std::size_t>(many), '\x55');
  const std::string path = study.add_macro("M[xxxxx]", 2, before, {1, 2}) + "/DATAVAR";
  const std::string mask(static_cast<std::size_t>(many) / 8 + 1, '\xAA');
  study.add("S", VAR_FLOAT, 1, mask);
  std::vector<double> values(static_cast<std::size_t>(many));
  for (std::int64_t i = 0; i < many; ++i) values[static_cast<std::size_t>(i)] = static_cast<double>(i % 3);
  for (bool selected : {false, true}) {
    write_file(path, before);
    std::string expected = to_bits(before);
    for (std::int64_t s = 1; s <= many; ++s)
      if (!selected || s % 2 == 0)
        expected.replace(static_cast<std::size_t>(2 * (many + s - 1)), 2,
                         stored_bits(values[static_cast<std::size_t>(s - 1)], 2));
    bound target("M[2]", selected ? "S" : "None");
    ASSERT_TRUE(qd_write_float_free(target.io(), SEL_MASKED, 1, many, values));
    EXPECT_TRUE(to_bits(read_file(path)) == expected) << selected;
    EXPECT_LE(sample_tables.work.capacity, 8 * samples_chunk);
  }
}

TEST(read_write, texts_lose_their_nuls_where_they_are_written) {
  sample_study study({.samples = 4});
  const std::string data("ab   c\0\0xyde \0fgh  i", 20);  // NULs that another program left
  const std::string path = study.add("T", VAR_CHAR, 40, data) + "/DATAVAR";
  study.add("S", VAR_FLOAT, 1, std::string_view("\x40", 1));
  bound all("T"), selected("T", "S");
  std::string texts(20, '?');
  std::int64_t count = 0;
  ASSERT_TRUE(qd_read_char_free(all.io(), SEL_MASKED, 2, 3, &count, qd_text_bytes(texts)));
  EXPECT_EQ(texts.substr(0, 10), data.substr(5, 10));
  std::string written("one\0?22222three", 15);
  ASSERT_TRUE(qd_write_char_free(selected.io(), SEL_MASKED, 1, 3, qd_text_bytes(written)));
  EXPECT_EQ(read_file(path), "one  " + data.substr(5, 5) + "three" + data.substr(15));
  fs::resize_file(path, 19);
  EXPECT_FALSE(qd_read_char_free(all.io(), SEL_MASKED, 4, 4, &count, qd_text_bytes(texts)));
}

std::vector<double> read_all(const char* name, std::int64_t first, std::int64_t last) {
  bound source(name);
  std::vector<double> values(static_cast<std::size_t>(last - first + 1));
  std::int64_t count = 0;
  EXPECT_TRUE(read_numbers(source.io(), SEL_MASKED, first, last, &count, values));
  return values;
}

bool can_read(const char* name) {
  bound source(name);
  double value = 0;
  std::int64_t count = 0;
  return read_numbers(source.io(), SEL_MASKED, 6, 6, &count, {&value, 1});
}

TEST(implicit_values, numbers_of_lines) {
  sample_study study({.samples = 6, .organisation = ORG_LINES_CORES, .line_table = {1, 4, 5, 7}});
  study.add_implicit("SN", KIND_SAMPLE_NUMBER);
  study.add_implicit("RN", KIND_RELATIVE_NUMBER);
  study.add_implicit("LN", KIND_LINE_NUMBER);
  using values = std::vector<double>;
  EXPECT_EQ(read_all("SN", 2, 5), (values{2, 3, 4, 5}));
  EXPECT_EQ(read_all("RN", 1, 6), (values{1, 2, 3, 1, 1, 2}));
  EXPECT_EQ(read_all("LN", 1, 6), (values{1, 1, 1, 2, 3, 3}));
  EXPECT_EQ(read_all("RN", 3, 4), (values{3, 1}));
  EXPECT_EQ(read_all("LN", 6, 6), values{3});
  write_file(study.file_path() + "/LINE", bytes().i64(1, 4, 5));
  EXPECT_FALSE(can_read("LN"));
  fs::remove(study.file_path() + "/LINE");
  EXPECT_FALSE(can_read("RN"));
  EXPECT_TRUE(can_read("SN"));
}

TEST(implicit_values, rotated_grid_in_3d) {
  const file_shape shape{24, ORG_GRID, 3, {}, {100, 200, 300}, {10, 0.1, 3}, {30, 10, 12.5}, {2, 3, 4}};
  sample_study study(shape);
  const char* names[] = {"IX", "IY", "IZ", "X", "Y", "Z"};
  for (int i = 0; i < 6; ++i) study.add_implicit(names[i], KIND_IX + i);
  // The placing matrix column by column: the rotation of the axes, angles in degrees.
  const double degree = 3.141592653589793 / 180.0, a = 30 * degree, b = 10 * degree, c = 12.5 * degree;
  const double ca = std::cos(a), sa = std::sin(a), cb = std::cos(b), sb = std::sin(b);
  const double cc = std::cos(c), sc = std::sin(c);
  const double m[3][3] = {{ca * cb, sa * cb, -sb},
                          {sb * ca * sc - cc * sa, sb * sa * sc + cc * ca, sc * cb},
                          {sb * ca * cc + sc * sa, sb * sa * cc - sc * ca, cc * cb}};
  std::vector<double> expected[6];
  for (int node = 0; node < 24; ++node) {
    const int index[3] = {node / 12, node / 4 % 3, node % 4};
    for (int axis = 0; axis < 3; ++axis) {
      expected[axis].push_back(index[axis] + 1);
      double place = shape.origin[axis];
      for (int i = 0; i < 3; ++i) place += index[i] * shape.mesh[i] * m[i][axis];
      expected[3 + axis].push_back(place);
    }
  }
  for (int i = 0; i < 6; ++i)
    for (std::int64_t first : {1, 2, 5, 13, 24})
      EXPECT_EQ(read_all(names[i], first, 24),
                std::vector<double>(expected[i].begin() + first - 1, expected[i].end()))
          << names[i] << " from " << first;
}

TEST(implicit_values, flat_grid_with_nothing_on_the_third_axis) {
  sample_study study({6, ORG_GRID, 2, {}, {10, 20, 77}, {1, 2, 88}, {0, 0, 0}, {3, 2, 99}});
  study.add_implicit("X", KIND_X);
  study.add_implicit("Y", KIND_Y);
  study.add_implicit("odd", KIND_X_BEGIN);
  EXPECT_EQ(read_all("X", 1, 6), (std::vector<double>{10, 10, 11, 11, 12, 12}));
  EXPECT_EQ(read_all("Y", 1, 6), (std::vector<double>{20, 22, 20, 22, 20, 22}));
  EXPECT_FALSE(can_read("odd"));
}

// Puts a file without room, or one that gives nothing, in the place of a selected data file.
void set_stream(const bound& target, const char* path, bool buffered) {
  qd_selected_entry& entry = *qd_entry(target.handle().entry);
  const std::string place = entry.variable_path + std::string("/DATAVAR");
  fs::remove(place);
  fs::create_symlink(path, place);
  std::fclose(entry.stream);
  entry.stream = std::fopen(path, "r+");
  if (!buffered) std::setvbuf(entry.stream, nullptr, _IONBF, 0);
}

TEST(read_write, what_the_disk_does_not_take_is_never_answered) {
  const double values[8] = {};
  unsigned char text[2] = {'a', 'b'};
  const unsigned char row[1] = {0x0F};
  // With a buffer only the flush can tell.
  for (bool buffered : {false, true}) {
    sample_study study({.samples = 8});
    for (int bit_length : {2, 8, 32, 64}) {
      const std::string name = std::to_string(bit_length);
      study.add(name, VAR_FLOAT, bit_length, std::string(64, '\0'));
      bound target(name.c_str());
      set_stream(target, "/dev/full", buffered);
      EXPECT_TRUE(console_of([&] {
                    EXPECT_FALSE(qd_write_float_free(target.io(), SEL_MASKED, 1, 8, values)) << name;
                  }).ends_with("No space left on device\n"));
    }
    study.add("T", VAR_CHAR, 8, std::string(8, ' '));
    study.add("S", VAR_FLOAT, 1, std::string(1, '\0'));
    bound texts("T"), selection("S");
    set_stream(texts, "/dev/full", buffered);
    set_stream(selection, "/dev/full", buffered);
    EXPECT_FALSE(qd_write_char_free(texts.io(), SEL_MASKED, 4, 5, text));
    EXPECT_FALSE(qd_write_selection_free(selection.io(), row));
  }
}

TEST(read_write, an_array_that_is_too_short_is_refused) {
  sample_study study({.samples = 9});
  study.add("V", VAR_FLOAT, 64, std::string(72, '\0'));
  const std::string texts_before(27, 'q');
  const std::string texts_file = study.add("T", VAR_CHAR, 24, texts_before) + "/DATAVAR";
  study.add("S", VAR_FLOAT, 1, std::string_view("\x0F\x80", 2));  // keeps all_samples 1 to 4
  std::int64_t count = 0, row_bytes = 0;
  for (const char* selection : {"None", "S"}) {
    bound numbers("V", selection), texts("T", selection), bits("S", selection);
    for (selection_mode mode : {SEL_COMPRESSED, SEL_MASKED}) {
      const bool is_short = mode == SEL_COMPRESSED && selection[0] == 'S';
      const std::size_t asked = is_short ? 4 : 9;
      // Exactly as long as is allowed, so that a sanitizer sees what goes beyond.
      std::vector<double> values(8, -1), wanted(asked, 1), too_few(asked - 1, 1);
      std::string bytes(26, '?'), text(3 * asked, 'q'), short_text(3 * asked - 1, 'w');
      EXPECT_FALSE(read_numbers(numbers.io(), mode, 1, 9, &count, values));
      EXPECT_EQ(values, std::vector<double>(8, -1));
      EXPECT_FALSE(qd_read_char_free(texts.io(), mode, 1, 9, &count, qd_text_bytes(bytes)));
      EXPECT_EQ(bytes, std::string(26, '?'));
      EXPECT_FALSE(qd_write_float_free(numbers.io(), mode, 1, 9, too_few));
      EXPECT_FALSE(qd_write_char_free(texts.io(), mode, 1, 9, qd_text_bytes(short_text)));
      EXPECT_EQ(read_file(texts_file), texts_before);
      EXPECT_TRUE(qd_write_float_free(numbers.io(), mode, 1, 9, wanted));
      EXPECT_TRUE(qd_write_char_free(texts.io(), mode, 1, 9, qd_text_bytes(text)));
      // A compressed array that is too long is no more what the selection asks for.
      wanted.push_back(1);
      text += "qqq";
      EXPECT_EQ(qd_write_float_free(numbers.io(), mode, 1, 9, wanted), !is_short);
      EXPECT_EQ(qd_write_char_free(texts.io(), mode, 1, 9, qd_text_bytes(text)), !is_short);
    }
    std::vector<unsigned char> row(1, 7);
    EXPECT_FALSE(qd_read_selection_free(bits.io(), &row_bytes, row));
    EXPECT_FALSE(qd_write_selection_free(bits.io(), row));
    EXPECT_EQ(row[0], 7);
  }
}

// A file whose first bytes can be read, and whose next ones can't.
TEST(read_write, an_error_of_the_disk_is_no_missing_sample) {
  sample_study study({.samples = 8});
  study.add("V", VAR_FLOAT, 8, std::string(8, 'a'));
  bound target("V");
  std::FILE*& stream = qd_entry(target.handle().entry)->stream;
  std::fclose(stream);
  int left = 3;
  const auto read = [](void* cookie, char* bytes, std::size_t size) -> ssize_t {
    if ((*static_cast<int*>(cookie))-- > 0 && size > 0) return *bytes = 'a', 1;
    return errno = EIO, -1;
  };
  stream = fopencookie(&left, "r", {read, nullptr, [](void*, off64_t*, int) { return 0; }, nullptr});
  std::setvbuf(stream, nullptr, _IONBF, 0);
  double values[8] = {};
  std::int64_t count = 0;
  EXPECT_FALSE(read_numbers(target.io(), SEL_MASKED, 1, 8, &count, values));
}

TEST(read_write, nothing_goes_into_a_file_that_has_been_replaced) {
  sample_study study({.samples = 8});
  const std::string before(8, 'a');
  const double values[8] = {};
  unsigned char text[2] = {'x', 'y'};
  const unsigned char row[1] = {0x0F};
  const std::string number = study.add("V", VAR_FLOAT, 8, before) + "/DATAVAR";
  const std::string texts = study.add("T", VAR_CHAR, 8, before) + "/DATAVAR";
  const std::string bits = study.add("S", VAR_FLOAT, 1, "a") + "/DATAVAR";
  bound number_io("V"), text_io("T"), bit_io("S");
  for (const std::string& path : {number, texts, bits}) {
    fs::rename(path, path + ".old");
    write_file(path, path == bits ? "b" : before);
  }
  EXPECT_FALSE(qd_write_float_free(number_io.io(), SEL_MASKED, 1, 8, values));
  EXPECT_FALSE(qd_write_char_free(text_io.io(), SEL_MASKED, 1, 2, text));
  EXPECT_FALSE(qd_write_selection_free(bit_io.io(), row));
  EXPECT_EQ(read_file(number) + read_file(texts), before + before);
  EXPECT_EQ(read_file(number + ".old") + read_file(texts + ".old"), before + before);
  EXPECT_EQ(read_file(bits) + read_file(bits + ".old"), "ba");
  fs::remove_all(study.file_path());
  EXPECT_FALSE(qd_write_float_free(number_io.io(), SEL_MASKED, 1, 8, values));
}

TEST(read_write, a_range_that_the_file_does_not_have_is_refused) {
  sample_study study({.samples = 4});
  study.add("V", VAR_FLOAT, 8, "abcd");
  study.add("T", VAR_CHAR, 8, "abcd");
  study.add_implicit("SN", KIND_SAMPLE_NUMBER);
  bound numbers("V"), texts("T"), computed("SN");
  std::vector<double> values(9);
  std::vector<unsigned char> bytes(9);
  std::int64_t count = 0;
  for (auto [first, last] : {std::pair{0, 1}, {1, 5}, {5, 5}, {3, 2}}) {
    EXPECT_FALSE(read_numbers(numbers.io(), SEL_MASKED, first, last, &count, values));
    EXPECT_FALSE(qd_write_float_free(numbers.io(), SEL_MASKED, first, last, values));
    EXPECT_FALSE(qd_read_char_free(texts.io(), SEL_MASKED, first, last, &count, bytes));
    EXPECT_FALSE(qd_write_char_free(texts.io(), SEL_MASKED, first, last, bytes));
    EXPECT_FALSE(read_numbers(computed.io(), SEL_MASKED, first, last, &count, values));
  }
}

TEST(read_write, a_column_is_looked_for_where_the_file_has_it) {
  sample_study study({.samples = 4});
  const std::string before("aaaabbbb");
  const std::string path = study.add_macro("M[xxxxx]", 8, before, {1, 2}) + "/DATAVAR";
  bound first("M[1]"), second("M[2]");
  study.set_shape({.samples = 6});  // by another server
  const double values[4] = {};
  double read[4] = {};
  std::int64_t count = 0;
  EXPECT_FALSE(read_numbers(second.io(), SEL_MASKED, 1, 4, &count, read));
  EXPECT_FALSE(qd_write_float_free(second.io(), SEL_MASKED, 1, 4, values));
  EXPECT_EQ(read_file(path), before);
  EXPECT_TRUE(read_numbers(first.io(), SEL_MASKED, 1, 4, &count, read));
}

TEST(read_write, samples_beyond_any_file_are_not_looked_for) {
  constexpr std::int64_t most = std::int64_t{1} << 62;
  sample_study study({.samples = most});
  study.add("V", VAR_FLOAT, 64, "");
  study.add_macro("M[xxxxx]", 8, "", {1, 2, 3, 4, 5});
  double value = 0;
  std::int64_t count = 0;
  for (const char* name : {"V", "M[5]"}) {
    bound target(name);
    EXPECT_FALSE(read_numbers(target.io(), SEL_MASKED, most, most, &count, {&value, 1})) << name;
    EXPECT_FALSE(qd_write_float_free(target.io(), SEL_MASKED, most, most, {&value, 1})) << name;
  }
  // Where nothing is stored there is nothing to look for.
  study.add_implicit("SN", KIND_SAMPLE_NUMBER);
  bound numbers("SN");
  EXPECT_TRUE(read_numbers(numbers.io(), SEL_MASKED, most, most, &count, {&value, 1}));
  EXPECT_EQ(value, 4611686018427387904.0);
}

// Samples of one byte that several servers write.
TEST(shared_byte, keeps_what_each_of_its_writers_has_written) {
  sample_study study({.samples = 8});
  study.add("S", VAR_FLOAT, 1, std::string(1, '\0'));
  const auto write = [](int server) {
    const bound variable("S");
    const std::int64_t sample = server + 1;
    for (int round = 0; round < 2000; ++round) {
      double value = round % 2, got = -1;
      std::int64_t count = 0;
      if (!qd_write_float_free(variable.io(), SEL_MASKED, sample, sample, {&value, 1}) ||
          !read_numbers(variable.io(), SEL_MASKED, sample, sample, &count, {&got, 1}) || got != value)
        return false;
    }
    return true;
  };
  EXPECT_EQ(in_processes(4, write), 0);
}

}  // namespace
}  // namespace qrd::test
