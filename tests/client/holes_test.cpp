#include "command/holes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qrd::command {
namespace {

using strings = std::vector<std::string>;

// "table line hole depth", of remarks with a "?" before it.
strings found(const matched_holes& matched) {
  strings result;
  for (const hole_mismatch& one : matched.mismatches) {
    std::string text = one.is_remark ? "?" : "";
    text += "csi"[static_cast<std::size_t>(one.table)] + std::to_string(one.line) + " " + one.hole;
    if (one.depth) text += " " + std::to_string(static_cast<int>(*one.depth));
    result.push_back(text);
  }
  return result;
}

TEST(holes, rows_may_come_in_any_order) {
  const hole_tables tables = {{{"B", {1, 2, 3}, 2}, {"A", {4, 5, 6}, 3}},
                              {{"A", {50, 10, 80}, 2}, {"B", {0, 0, 90}, 3}, {"A", {0, 5, 85}, 4}},
                              {{"A", 10, 20, 2}, {"B", 0, 5, 3}, {"A", 0, 10, 4}, {"A", 30, 40, 5}}};
  const matched_holes matched = match_holes(tables, {});
  EXPECT_TRUE(matched.is_sound());
  EXPECT_EQ(found(matched), strings({"?s3 B 0"}));
  ASSERT_EQ(matched.holes.size(), 2U);
  const drill_hole& a = matched.holes[0];
  EXPECT_EQ(a.name, "A");
  EXPECT_EQ(a.collar, (client::point3{4, 5, 6}));
  EXPECT_EQ(a.intervals, (std::vector<std::size_t>{2, 0, 3}));
  ASSERT_EQ(a.stations.size(), 2U);
  EXPECT_EQ(a.stations[0].azimuth, 5);
  EXPECT_EQ(a.stations[1].azimuth, 10);
}

TEST(holes, every_mismatch_is_listed) {
  const hole_tables tables = {{{"A", {0, 0, 0}, 2},
                               {"B", {0, 0, 0}, 3},
                               {"A", {1, 0, 0}, 4},
                               {"", {0, 0, 0}, 5},
                               {"N", {0, 0, 0}, 6}},
                              {{"A", {0, 10, 91}, 2},
                               {"A", {-1, 400, 80}, 3},
                               {"B", {7, 0, 45}, 4},
                               {"B", {7, 0, 45}, 5},
                               {"B", {9, 180, -45}, 6},
                               {"X", {0, 0, 90}, 7}},
                              {{"A", 0, 10, 2},
                               {"A", 9, 12, 3},
                               {"A", 14, 13, 4},
                               {"A", -3, -2, 5},
                               {"C", 0, 1, 6},
                               {"N", 0, 1, 7},
                               {"N", 1, 2, 8},
                               {"B", 0, 9, 9}}};
  const matched_holes matched = match_holes(tables, {});
  EXPECT_FALSE(matched.is_sound());
  EXPECT_EQ(found(matched),
            strings({"c4 A", "c5 ", "s2 A 0", "?s2 A 0", "s3 A -1", "s3 A -1", "s5 B 7", "s6 B 9", "?s7 X",
                     "i3 A 9", "i4 A 14", "i5 A -3", "i6 C", "i6 C", "i7 N"}));
}

TEST(holes, without_surveys_are_vertical_only_on_request) {
  const hole_tables tables = {{{"A", {0, 0, 0}, 2}}, {}, {{"A", 0, 10, 2}}};
  EXPECT_FALSE(match_holes(tables, {}).is_sound());
  hole_rules rules;
  rules.vertical_without_surveys = true;
  const matched_holes matched = match_holes(tables, rules);
  EXPECT_EQ(found(matched), strings());
  EXPECT_EQ(matched.holes[0].stations[0].dip, 90);
}

TEST(holes, signs_of_dips_that_send_most_holes_up_need_a_word) {
  hole_tables tables;
  for (const char* hole : {"A", "B", "C"}) {
    tables.collars.push_back({hole, {}, 1});
    tables.intervals.push_back({hole, 0, 10, 1});
    tables.surveys.push_back({hole, {10, 0, *hole == 'C' ? 60.0 : -60.0}, 1});
  }
  const matched_holes refused = match_holes(tables, {});
  EXPECT_EQ(found(refused), strings({"s0 "}));
  EXPECT_NE(refused.mismatches[0].text.find("2 of 3"), std::string::npos);

  const matched_holes up = match_holes(tables, {dip_convention::down_positive, false});
  EXPECT_TRUE(up.is_sound());
  EXPECT_EQ(up.holes[0].stations[0].dip, -60);
  const matched_holes down = match_holes(tables, {dip_convention::down_negative, false});
  EXPECT_TRUE(down.is_sound());
  EXPECT_EQ(down.holes[0].stations[0].dip, 60);
  EXPECT_EQ(down.holes[2].stations[0].dip, -60);

  tables.surveys[0].measured.dip = 60;
  EXPECT_TRUE(match_holes(tables, {}).is_sound());
}

}  // namespace
}  // namespace qrd::command
