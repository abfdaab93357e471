#include "command/condition.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "command/names.h"
#include "command/rows.h"
#include "command/summary.h"

namespace qrd::command {
namespace {

using texts = std::vector<std::string>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// For which of these samples it is true, as their numbers in a row.
std::string chosen(const std::string& text) {
  const std::vector<std::pair<std::string, client::column_values>> columns = {
      {"Cu", {{1, 2, 3, nan}, {}}}, {"ore", {{0, 1, 1, 0}, {}}},  {"rock", {{}, {"MASU", "BASU", "", "MA"}}},
      {"X Y", {{4, 4, 0, 8}, {}}},  {"m[3]", {{2, 2, 2, 2}, {}}},
  };
  condition wanted(text);
  std::vector<const client::column_values*> values;
  std::vector<bool> is_text;
  for (const std::string& name : wanted.names())
    for (const auto& [known, column] : columns)
      if (known == name) {
        values.push_back(&column);
        is_text.push_back(column.numbers.empty());
      }
  if (values.size() != wanted.names().size()) throw client::error("a name that is not there");
  wanted.check(is_text);
  std::string rows;
  for (std::size_t row = 0; row < 4; ++row)
    if (wanted.holds(values, row)) rows += std::to_string(row + 1);
  return rows;
}

TEST(condition, chooses_what_it_says) {
  const std::pair<const char*, const char*> cases[] = {
      {"Cu > 1", "23"},
      {"Cu>=2 and rock == \"BASU\"", "2"},
      {"Cu < 2 || Cu = 3", "13"},
      // What is missing is neither so nor otherwise.
      {"not (Cu > 2)", "12"},
      {"rock != 'MASU'", "24"},
      {"Cu > 2 or rock == 'MA'", "34"},
      {"Cu is missing", "4"},
      {"rock is not missing and not Cu is missing", "12"},
      {"rock like \"?ASU\"", "12"},
      {"rock not like \"MA*\"", "2"},
      {"rock in ('MA', 'MASU')", "14"},
      {"Cu not in (1, 2)", "3"},
      {"ore", "23"},
      {"!ore && Cu < 9", "1"},
      {"`X Y` / Cu == 2 OR m[3] * -2 + 1 > Cu", "2"},
      {"Cu / ore > 0", "23"},
      {"1 + 2 * 3 == 7 and 8 / 2 / 2 = 2 and 5 - 2 - 1 == 2", "1234"},
      {"\"it''s\" == 'it''''s'", "1234"},
  };
  for (const auto& [text, rows] : cases) EXPECT_EQ(chosen(text), rows) << text;
}

TEST(condition, refuses_what_means_nothing) {
  for (const char* text : {"", "Cu >", "Cu > 1 2", "(Cu", "Cu == 'a'", "rock > 1", "rock", "Cu like 'a'",
                           "Cu ~ 1", "'open", "1 < Cu < 3", "2Cu > 1", "m[3 > 1", "rock == ''",
                           "(Cu > 1) + 1 > 0", "Cu is 3", "Cu in ()", "1e999 > Cu", "not"})
    EXPECT_THROW(chosen(text), client::error) << text;
  // However deep or long.
  for (const char* part : {"(", "not ", "-", "Cu+", "Cu and ", "Cu in (", "1/"}) {
    std::string text;
    for (int i = 0; i < 100000; ++i) text += part;
    EXPECT_THROW(condition("1 < " + text), client::error) << part;
  }
  std::mt19937 chance(7);
  const texts words = {"Cu", "rock", "'a'", "1",  "<",       "==",   "and", "or", "not", "in",
                       "(",  ")",    ",",   "is", "missing", "like", "+",   "/",  "`"};
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (std::size_t n = chance() % 8; n > 0; --n) text += words[chance() % words.size()] + " ";
    try {
      chosen(text);
    } catch (const client::error&) {
      // As good an end as a choice.
    }
  }
}

TEST(names, match_their_patterns) {
  for (const auto& [pattern, name] : std::initializer_list<std::pair<const char*, const char*>>{
           {"*", ""}, {"C?", "Cu"}, {"*a*b*", "xaab"}, {"a*a", "aba"}, {"**", "x"}, {"a", "a"}})
    EXPECT_TRUE(matches(pattern, name)) << pattern << " " << name;
  for (const auto& [pattern, name] : std::initializer_list<std::pair<const char*, const char*>>{
           {"?", ""}, {"C?", "Cux"}, {"*a", "ab"}, {"a*a", "a"}, {"", "a"}})
    EXPECT_FALSE(matches(pattern, name)) << pattern << " " << name;
  EXPECT_TRUE(matches(std::string(5000, '*') + "b", std::string(5000, 'a') + "b"));
}

TEST(rows, bounds_have_open_sides) {
  const std::vector<bounds> all = parse_bounds("1:2.5,:-3,7", 3, "--box");
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].highest, 2.5);
  EXPECT_EQ(all[1].lowest, -std::numeric_limits<double>::infinity());
  EXPECT_EQ(all[1].highest, -3);
  EXPECT_EQ(all[2].lowest, 7);
  for (const char* text : {"", "1:2:3", "a", "1,", "1,2,3,4"})
    EXPECT_THROW(parse_bounds(text, 3, "--box"), client::error) << text;
}

// Against the definitions, written down at length.
TEST(summary, has_moments_and_quantiles_with_weights) {
  number_summary plain(true);
  for (const double value : {4., 1., nan, 3., 2.}) plain.add(value);
  EXPECT_EQ(plain.missing(), 1);
  EXPECT_EQ(plain.mean(), 2.5);
  EXPECT_DOUBLE_EQ(plain.standard_deviation(), std::sqrt(1.25));
  EXPECT_EQ(plain.quantiles({0, 0.25, 0.5, 1}), (std::vector<double>{1, 1.75, 2.5, 4}));
  EXPECT_EQ(plain.histogram(3), (std::vector<double>{1, 1, 2}));
  number_summary weighted(true);
  weighted.add(10, 1);
  weighted.add(30, 2);
  weighted.add(20, 1);
  weighted.add(99, 0);
  weighted.add(99, nan);
  EXPECT_EQ(weighted.missing(), 2);
  EXPECT_EQ(weighted.mean(), 22.5);
  EXPECT_DOUBLE_EQ(weighted.standard_deviation(), std::sqrt((12.5 * 12.5 + 2.5 * 2.5 + 2 * 7.5 * 7.5) / 4));
  EXPECT_EQ(weighted.quantiles({0.25, 0.3, 0.5, 0.6}), (std::vector<double>{10, 20, 20, 30}));
}

}  // namespace
}  // namespace qrd::command
