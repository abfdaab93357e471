#include "command/cells.h"

#include <gtest/gtest.h>

#include "qrd/error.h"
#include "qrd/types.h"

namespace qrd::command {
namespace {

column_type type_of(const std::string& cells, const cell_rules& rules = {},
                    const column_wishes& wishes = {}) {
  return type_of_column(csv_table("c\n" + cells), "c", rules, wishes);
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
  EXPECT_TRUE(type_of("1\n2\nab\n", {}, {true, 0}).is_text());
  EXPECT_EQ(type_of("1\n2\nab\n", {{"ab"}, {}}).missing, 1U);
  EXPECT_THROW(type_of("<1\n"), client::error);
  EXPECT_EQ(type_of("<1\n2\n", {{}, below_detection::missing}).missing, 1U);
  EXPECT_TRUE(type_of("<1\nlow\n< x\n", {{}, below_detection::zero}).is_text());
}

TEST(cells, below_detection_stand_for_what_the_rule_says) {
  const csv_table table("c\n<0.5\n< 2\n-7\nNA\n");
  const auto numbers = [&](below_detection rule) { return to_numbers(table, "c", {{"-7"}, rule}, 64); };
  const double m = client::missing_value;
  EXPECT_EQ(numbers(below_detection::half), (std::vector<double>{0.25, 1, m, m}));
  EXPECT_EQ(numbers(below_detection::zero), (std::vector<double>{0, 0, m, m}));
  EXPECT_EQ(numbers(below_detection::value), (std::vector<double>{0.5, 2, m, m}));
  EXPECT_EQ(numbers(below_detection::missing), (std::vector<double>{m, m, m, m}));
  EXPECT_THROW(numbers(below_detection::refused), client::error);
  EXPECT_THROW(to_places(table, "c", {{}, below_detection::half}), client::error);
  EXPECT_THROW(to_numbers(table, "c", {{}, below_detection::half}, 1), client::error);
}

}  // namespace
}  // namespace qrd::command
