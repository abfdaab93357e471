// Rings, names and measures of polygons in memory.
#include "disk/qu_polygon_shape.h"
#include "support/test.h"

namespace qrd::test {
namespace {

struct ring_case {
  const char* what;
  vertex_ring ring;
  ring_state state;
  std::size_t left;  // vertices of a valid ring
};

TEST(polygon_rings, are_cleaned_and_judged) {
  const ring_case cases[] = {
      {"empty", {}, ring_state::degenerate, 0},
      {"one vertex", {{1, 1}}, ring_state::degenerate, 0},
      {"two vertices", {{0, 0}, {1, 1}}, ring_state::degenerate, 0},
      {"closed triangle", {{0, 0}, {4, 0}, {0, 4}, {0, 0}}, ring_state::valid, 3},
      {"closed twice", {{0, 0}, {4, 0}, {4, 4}, {0, 0}, {0, 0}}, ring_state::self_intersecting, 0},
      {"three in a row", {{0, 0}, {1, 1}, {2, 2}}, ring_state::degenerate, 0},
      {"straight corner", {{0, 0}, {2, 0}, {4, 0}, {4, 4}, {0, 4}}, ring_state::valid, 4},
      {"straight corner at the first vertex stays",
       {{2, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}},
       ring_state::valid,
       5},
      {"straight last vertex", {{0, 0}, {4, 0}, {4, 4}, {2, 2}}, ring_state::valid, 3},
      {"bow tie", {{0, 0}, {4, 4}, {4, 0}, {0, 4}}, ring_state::self_intersecting, 0},
      {"touches itself", {{0, 0}, {4, 0}, {4, 4}, {2, 0}, {0, 4}}, ring_state::self_intersecting, 0},
      {"closing edge crosses", {{0, 0}, {4, 0}, {4, 4}, {2, -1}}, ring_state::self_intersecting, 0},
  };
  for (const ring_case& each : cases) {
    vertex_ring ring = each.ring;
    EXPECT_EQ(qu_ring_check(ring), each.state) << each.what;
    if (each.state == ring_state::valid) {
      EXPECT_EQ(ring.size(), each.left) << each.what;
    }
  }
}

// Rings of more edges than one block, so that whole blocks are ruled out.
TEST(polygon_rings, of_many_edges) {
  constexpr int count = 1000;
  vertex_ring circle;
  for (int i = 0; i < count; ++i) {
    const double angle = 2 * std::numbers::pi * i / count;
    circle.push_back({1e4 * std::cos(angle), 1e4 * std::sin(angle)});
  }
  vertex_ring valid = circle;
  EXPECT_EQ(qu_ring_check(valid), ring_state::valid);
  EXPECT_EQ(valid.size(), circle.size());
  for (int first : {3, 300, 700, 990}) {
    vertex_ring crossed = circle;
    // A corner that reaches through the opposite side.
    crossed[static_cast<std::size_t>(first)].x *= -1.5;
    crossed[static_cast<std::size_t>(first)].y *= -1.5;
    EXPECT_EQ(qu_ring_check(crossed), ring_state::self_intersecting) << first;
  }
}

TEST(polygon_names, are_made_unique_within_31_characters) {
  auto system = qu_polygon_system_new();
  polygon& owner = qu_polygon_new_auto(*system);
  EXPECT_STREQ(owner.name, "Polygon 1");
  const auto name_of = [&](const std::string& wanted) -> std::string {
    contour& made = qu_polygon_add_contour(*system, owner);
    qu_contour_rename(*system, made, wanted.c_str());
    return made.name;
  };
  const std::string longest(31, 'x');
  // At last an automatic name that is taken already: the number goes no further than the end of the text.
  for (const auto& [wanted, given] : {std::pair<std::string, std::string>{"Pit", "Pit"},
                                      {"Pit", "Pit 3"},
                                      {"A", "A"},
                                      {"A", "A6"},
                                      {"None", "C 8"},
                                      {"", "C 10"},
                                      {longest, longest},
                                      {longest, longest.substr(0, 28) + " 13"},
                                      {"C 16", "C 16"},
                                      {"None", "C 16 17"}})
    EXPECT_EQ(name_of(wanted), given);
}

TEST(polygon_names, that_are_equal_find_the_oldest) {
  auto system = qu_polygon_system_new();
  polygon& owner = qu_polygon_new_named(*system, "P");
  contour* same[3];
  for (contour*& each : same) each = &qu_polygon_add_contour_named(*system, owner, "same");
  EXPECT_EQ(system->contours.find("same"), same[0]);
  qu_contour_rename(*system, *same[0], "other");
  EXPECT_EQ(system->contours.find("same"), same[1]);
  qu_contour_delete(*system, *same[1]);
  EXPECT_EQ(system->contours.find("same"), same[2]);
  qu_contour_delete(*system, *same[2]);
  EXPECT_EQ(system->contours.find("same"), nullptr);
  EXPECT_EQ(owner.contours, std::list<contour*>{same[0]});
}

// What has to be deleted from one polygon costs the same for each contour, however many it has.
TEST(polygon_check, deletes_a_great_many_contours) {
  auto system = qu_polygon_system_new();
  polygon& owner = qu_polygon_new_named(*system, "P");
  for (int i = 0; i < 200000; ++i) qu_polygon_add_contour_named(*system, owner, "same");
  console_of([&] { EXPECT_FALSE(qu_polygon_check(*system, owner)); });
  EXPECT_EQ(system->contours.count(), 0);
}

TEST(polygon_measures, leave_out_holes_and_use_limits_in_3d_only) {
  auto system = qu_polygon_system_new();
  system->dimension = 3;
  polygon& solid = qu_polygon_new_named(*system, "solid");
  contour& outer = qu_polygon_add_contour_named(*system, solid, "outer");
  outer.vertices = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  outer.holes.push_back({{1, 1}, {1, 3}, {3, 3}, {3, 1}});
  outer.z_min = 5;
  outer.z_max = 7;
  EXPECT_DOUBLE_EQ(qu_polygon_measure(solid), (100 - 4) * 2);
  outer.is_3d = false;
  EXPECT_DOUBLE_EQ(qu_polygon_measure(solid), 96);
  double x = 0, y = 0, z = 0;
  qu_contour_center(outer, x, y, z);
  EXPECT_DOUBLE_EQ(x, (100 * 5 - 4 * 2) / 96.0);
  EXPECT_DOUBLE_EQ(y, x);
  EXPECT_EQ(z, 0);
  const vertex of_none = qu_ring_centroid({});
  EXPECT_EQ(of_none.x, 0);
  EXPECT_EQ(of_none.y, 0);
  EXPECT_EQ(qu_vertex_count(*system), 8);
}

}  // namespace
}  // namespace qrd::test
