#include "command/cells.h"

#include <gtest/gtest.h>

#include <cmath>

#include "qrd/error.h"
#include "qrd/types.h"

namespace qrd::command {
namespace {

using formats::input;
using formats::text_table;

column_type type_of(const std::string& cells, const cell_rules& rules = {}, bool text = false) {
  text_table table(input::of_text("c\n" + cells), {});
  std::vector<looked_column> columns(1);
  columns[0].text = text;
  look_at(table, rules, columns);
  return columns[0].type;
}

TEST(cells, decide_what_their_column_is) {
  EXPECT_EQ(type_of("1\nNA\nnan\n 2 \nNULL\n").bits, 64);
  EXPECT_EQ(type_of("1\nNA\nnan\n 2 \nNULL\n").missing, 3U);
  EXPECT_EQ(type_of("\"\"\nN/A\n").bits, 64);
  // As many words as numbers make texts; fewer are looked at by the user.
  EXPECT_TRUE(type_of("1\nab\n").is_text());
  EXPECT_EQ(type_of("Na\nNA\nabc \n").characters, 3);
  EXPECT_EQ(type_of("Na\nNA\nabc \n").missing, 1U);
  EXPECT_THROW(type_of("1\n2\nab\n"), client::error);
  EXPECT_TRUE(type_of("1\n2\nab\n", {}, true).is_text());
  EXPECT_EQ(type_of("1\n2\nab\n", {{"ab"}, {}}).missing, 1U);
  EXPECT_THROW(type_of("<1\n"), client::error);
  EXPECT_EQ(type_of("<1\n2\n", {{}, below_detection::missing}).missing, 1U);
  EXPECT_TRUE(type_of("<1\nlow\n< x\n", {{}, below_detection::zero}).is_text());
}

TEST(cells, of_zeros_and_ones_alone_are_a_selection) {
  EXPECT_EQ(type_of("1\n0\n1\n").bits, 1);
  for (const char* cells : {"1\n1\n", "0\n1\nNA\n", "0\n1\n2\n", "0\n1.0\n"})
    EXPECT_EQ(type_of(cells).bits, 64) << cells;
}

TEST(cells, below_detection_stand_for_what_the_rule_says) {
  text_table table(input::of_text("c\n<0.5\n< 2\n-7\nNA\n"), {});
  const auto numbers = [&](below_detection rule, std::int32_t bits = 64, bool is_place = false) {
    std::vector<double> values =
        read_whole(table, {{"-7"}, rule}, {{0, {bits, 0, 0}, is_place}}).columns[0].numbers;
    for (double& one : values)
      if (std::isnan(one)) one = -1;
    return values;
  };
  EXPECT_EQ(numbers(below_detection::half), (std::vector<double>{0.25, 1, -1, -1}));
  EXPECT_EQ(numbers(below_detection::zero), (std::vector<double>{0, 0, -1, -1}));
  EXPECT_EQ(numbers(below_detection::value), (std::vector<double>{0.5, 2, -1, -1}));
  EXPECT_EQ(numbers(below_detection::missing), (std::vector<double>{-1, -1, -1, -1}));
  EXPECT_THROW(numbers(below_detection::refused), client::error);
  EXPECT_THROW(numbers(below_detection::half, 64, true), client::error);
  EXPECT_THROW(numbers(below_detection::half, 1), client::error);
}

}  // namespace
}  // namespace qrd::command
