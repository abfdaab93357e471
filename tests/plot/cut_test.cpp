// What a section cuts: against points worked out by hand.
#include "plot/cut.h"

#include <gtest/gtest.h>

namespace qrd::plot {

namespace {

using lines = std::vector<cut_line>;

plane between(point from, point to) {
  return plane({from, to, {}, {}});
}
// Along X from 0 to 10.
const plane by = between({0, 0}, {10, 0});

lines cut_of(const std::vector<triangle>& surface) {
  return cut(by, surface);
}

TEST(cuts, of_triangles_across_the_plane) {
  // Two edges; a vertex and the edge behind it; a vertex that only touches; nothing.
  EXPECT_EQ(cut_of({{{{2, -1, 0}, {6, 1, 8}, {2, 1, 4}}}}), (lines{{{4, 4}, {2, 2}}}));
  EXPECT_EQ(cut_of({{{{1, 0, 1}, {3, 2, 0}, {5, -2, 4}}}}), (lines{{{1, 1}, {4, 2}}}));
  EXPECT_EQ(cut_of({{{{1, 0, 1}, {3, 2, 0}, {5, 2, 4}}}}), lines());
  EXPECT_EQ(cut_of({{{{1, 3, 1}, {3, 2, 0}, {5, 2, 4}}}}), lines());
  // It ends with the section.
  EXPECT_EQ(cut_of({{{{-5, -1, 0}, {-5, 1, 0}, {35, 1, 40}}}}), (lines{{{0, 5}, {10, 15}}}));
  EXPECT_EQ(cut_of({{{{12, -1, 0}, {16, 1, 8}, {12, 1, 4}}}}), lines());
  // A corner that is missing.
  EXPECT_EQ(cut_of({{{{2, -1, 0}, {6, 1, 1.2345e308}, {2, 1, 4}}}}), lines());
}

TEST(cuts, of_edges_and_triangles_in_the_plane) {
  const client::point3 a{1, 0, 0}, b{5, 0, 0}, c{5, 0, 3}, d{1, 0, 3};
  const client::point3 left{1, 2, 0}, right{1, -2, 0};
  // An edge that two triangles share, on one side or on both.
  EXPECT_EQ(cut_of({{{a, b, left}}, {{b, a, right}}}), (lines{{{1, 0}, {5, 0}}}));
  EXPECT_EQ(cut_of({{{a, b, left}}}), (lines{{{1, 0}, {5, 0}}}));
  // Beside a triangle that is no more than the edge.
  EXPECT_EQ(cut_of({{{a, b, left}}, {{a, a, b}}}), (lines{{{1, 0}, {5, 0}}}));
  // Of a square its four sides, in the order of their places; also where another triangle goes on from one.
  const lines sides = {{{1, 0}, {1, 3}}, {{1, 0}, {5, 0}}, {{1, 3}, {5, 3}}, {{5, 0}, {5, 3}}};
  EXPECT_EQ(cut_of({{{a, b, c}}, {{a, c, d}}}), sides);
  EXPECT_EQ(cut_of({{{a, b, c}}, {{a, c, d}}, {{d, a, left}}}), sides);
  // A plane askew, whose coordinates are rounded.
  const point from{2300000.1, 418500.3}, to{2302800.7, 420000.9};
  const auto at = [&](double part, double z) {
    return client::point3{from.x + part * (to.x - from.x), from.y + part * (to.y - from.y), z};
  };
  const client::point3 p = at(0.1, 0), q = at(1 / 3.0, 0), r = at(1 / 3.0, 7), s = at(0.1, 7);
  EXPECT_EQ(cut(between(from, to), std::vector<triangle>{{{p, q, r}}, {{p, r, s}}}).size(), 4U);
}

TEST(cuts, of_rings) {
  using extents = std::vector<extent>;
  const auto square = [](double south, double north) {
    return cut(by, std::vector<client::point2>{{2, south}, {8, south}, {8, north}, {2, north}});
  };
  EXPECT_EQ(square(-1, 1), (extents{{2, 8}}));
  EXPECT_EQ(square(0, 1), (extents{{2, 8}}));
  EXPECT_EQ(square(-1, 0), (extents{{2, 8}}));
  EXPECT_EQ(square(1, 2), extents());
  // Twice through a hook, which reaches beyond the end; through two vertices; beside a vertex that touches.
  EXPECT_EQ(cut(by, {{1, 1}, {1, -1}, {3, -1}, {3, 0.5}, {6, 0.5}, {6, -1}, {14, -1}, {14, 1}}),
            (extents{{1, 3}, {6, 10}}));
  EXPECT_EQ(cut(by, {{2, 0}, {4, -2}, {6, 0}, {4, 2}}), (extents{{2, 6}}));
  EXPECT_EQ(cut(by, {{2, 0}, {4, 2}, {1, 3}}), extents());
}

}  // namespace
}  // namespace qrd::plot
