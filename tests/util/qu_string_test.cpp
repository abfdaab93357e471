#include "util/qu_string.h"

#include "support/test.h"

namespace qrd::test {
namespace {

TEST(bounded_copy, marks_a_cut_with_a_star) {
  char room[12] = "###########";
  qu_string_copy("123456789", 10, room);
  EXPECT_STREQ(room, "123456789");
  qu_string_copy("1234567890", 10, room);
  EXPECT_STREQ(room, "12345678*");
  EXPECT_EQ(room[10], '#');
  qu_string_copy("abc", 2, room);
  EXPECT_STREQ(room, "*");
  // The source may be the destination itself.
  char full[4] = {'a', 'b', 'c', 'd'};
  qu_string_copy(full, full);
  EXPECT_STREQ(full, "ab*");
}

TEST(path_join, cuts_without_a_mark) {
  char path[8] = "";
  qu_path_join(path, {"ab", "/", "cdef"});
  EXPECT_STREQ(path, "ab/cdef");
  qu_path_join(path, {"ab", "/", "cdefg", "h"});
  EXPECT_STREQ(path, "ab/cdef");
  qu_path_join(path, {"abc"});
  qu_path_join(path, {path, "/", "x"});
  EXPECT_STREQ(path, "abc/x");
}

TEST(trim, removes_blanks_and_nothing_else) {
  std::string text = "  \ta b\t  ";
  EXPECT_STREQ(qu_string_trim(text.data()), "\ta b\t");
  text = "    ";
  EXPECT_STREQ(qu_string_trim(text.data()), "");
}

TEST(string_to_int, reads_blanks_sign_digits_blanks_within_its_bounds) {
  constexpr double none = missing_double;
  constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
  struct {
    const char* text;
    double minimum, maximum;
    int status;
    std::int64_t result;
    bool blank_is_missing = false;
  } const rows[] = {{"  +42  ", none, none, 0, 42},
                    {"-7", -10, 10, 0, -7},
                    {"-", none, none, 0, 0},
                    {"99999", 1, 99999, 0, 99999},
                    {"9223372036854775807", none, none, 0, largest},
                    {"0", 1, 99999, 1, 1},
                    {"100000", 1, 99999, 1, 99999},
                    {"100000", none, 99999, 1, 99999},
                    // After bad syntax the value held before (-77) is what is compared.
                    {"4x", -100, 100, 1, 100},
                    {"4x", 1, 100, 1, 1},
                    {"+-4", none, none, 1, 0},
                    {"4 4", 5, none, 1, 5},
                    {"\t4", -100, none, 1, -100},
                    {"x", 1e300, none, 1, largest},
                    {"   ", 1, 2, 0, missing_int64, true},
                    {"", 1, 2, 1, 1},
                    {"", none, 2, 1, 2},
                    {"", none, none, 1, 0}};
  for (const auto& row : rows) {
    std::int64_t result = -77;
    EXPECT_EQ(qu_string_to_int(row.text, row.minimum, row.maximum, row.blank_is_missing, &result), row.status)
        << row.text;
    EXPECT_EQ(result, row.result) << row.text;
  }
}

TEST(number_exceeds, tests_in_integers_too) {
  EXPECT_EQ(qu_number_exceeds("%d*%d*%d", {2097152, 2097152, 2097151}), 0);
  EXPECT_EQ(qu_number_exceeds("%d+%d", {9223372036854775806, 1}), 0);
  EXPECT_EQ(console_of([] {
              EXPECT_EQ(qu_number_exceeds("%d*%d*%d", {2097152, 2097152, 2097152}), 1);
            }),
            "WARNING: number is too big (9223372036854775808)\n"
            "         maximum allowed is 9223372036854775807\n");
  console_of([] {
    // In floating point this sum is no larger than the limit.
    EXPECT_EQ(qu_number_exceeds("%d+%d", {9223372036854775807, 1}), 1);
    EXPECT_EQ(qu_number_exceeds("%d*%d", {4294967296, 4294967296}), 1);
  });
}

TEST(time_text, has_three_blanks_before_the_time) {
  setenv("TZ", "UTC", 1);
  tzset();
  char text[time_text_size];
  qu_time_text(text, 86399);
  EXPECT_STREQ(text, "Jan 01 1970   23:59:59");
}

}  // namespace
}  // namespace qrd::test
