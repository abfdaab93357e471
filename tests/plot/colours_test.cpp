// Which colour a value gets, and where the ticks of an axis stand: against values worked out by hand.
#include "plot/colours.h"

#include <gtest/gtest.h>

#include <cmath>

#include "plot/grid.h"
#include "plot/svg.h"
#include "qrd/error.h"

namespace qrd::plot {
namespace {

constexpr rgb black = {0, 0, 0}, red = {255, 0, 0}, green = {0, 255, 0}, blue = {0, 0, 255};
constexpr auto nothing = std::nullopt;

client::colour_scale scale_of(client::scale_kind kind, std::int32_t classes) {
  client::colour_scale scale;
  scale.kind = kind;
  scale.classes = classes;
  return scale;
}

TEST(colours, of_equal_steps) {
  const rgb two[] = {red, blue};
  const colour_map map = even_map({0, 10}, two);
  EXPECT_EQ(map.colour_of(0), red);
  EXPECT_EQ(map.colour_of(4.99), red);
  EXPECT_EQ(map.colour_of(5), blue);
  EXPECT_EQ(map.colour_of(10), blue);
  for (const double outside : {-0.01, 10.01, std::nan(""), HUGE_VAL, 1.2345e308})
    EXPECT_EQ(map.colour_of(outside), nothing) << outside;
  // A single value has a colour too.
  EXPECT_NE(even_map({7, 7}, two).colour_of(7), nothing);

  const rgb four[] = {black, red, green, blue};
  EXPECT_EQ(spread(four, 2), (std::vector<rgb>{black, blue}));
  EXPECT_EQ(spread(four, 7), (std::vector<rgb>{black, red, red, green, green, blue, blue}));
  EXPECT_EQ(spread({}, 5), even_ramp(5));

  // The automatic kind spans the values; three classes of four colours are the 1st, the 3rd and the 4th.
  const double values[] = {30, std::nan(""), 0, 12};
  const colour_map automatic = scale_map(scale_of(client::scale_kind::automatic, 3), four, values);
  EXPECT_EQ(automatic.colour_of(9.9), black);
  EXPECT_EQ(automatic.colour_of(10), green);
  EXPECT_EQ(automatic.colour_of(30), blue);
  EXPECT_EQ(scale_map(scale_of(client::scale_kind::automatic, 0), four, values).classes.size(), 4U);
}

TEST(colours, of_classes_and_intervals) {
  const rgb palette[] = {black, red, green};
  // Three classes of six values begin at the 1st, the 3rd and the 5th.
  const double values[] = {100, 4, 2, std::nan(""), 3, 1, 200};
  const colour_map classes = scale_map(scale_of(client::scale_kind::classes, 3), palette, values);
  EXPECT_EQ(classes.colour_of(2.9), black);
  EXPECT_EQ(classes.colour_of(3), red);
  EXPECT_EQ(classes.colour_of(99), red);
  EXPECT_EQ(classes.colour_of(100), green);
  EXPECT_EQ(classes.colour_of(200), green);
  EXPECT_EQ(classes.colour_of(200.1), nothing);

  client::colour_scale manual = scale_of(client::scale_kind::manual, 3);
  manual.bounds = {0, 10, 20, 30};
  manual.palette_indices = {2, 0, 99};  // the palette has become shorter
  const colour_map bounds = scale_map(manual, palette, values);
  EXPECT_EQ(bounds.colour_of(9.99), green);
  EXPECT_EQ(bounds.colour_of(10), black);
  EXPECT_EQ(bounds.colour_of(30), green);
  EXPECT_EQ(bounds.colour_of(-0.1), nothing);
  EXPECT_EQ(bounds.colour_of(30.1), nothing);

  client::colour_scale codes = scale_of(client::scale_kind::facies, 2);
  codes.intervals = {{1, 3, 1}, {4, 6, 0}, {6, 6, 1}, {7, 7, 2}, {8, 8, -1}};  // the last two have no facies
  codes.facies = {{red, "Sand"}, {blue, "Clay"}};
  const colour_map facies = scale_map(codes, palette, values);
  EXPECT_EQ(facies.colour_of(1), blue);
  EXPECT_EQ(facies.colour_of(3), blue);
  EXPECT_EQ(facies.colour_of(3.5), nothing);
  EXPECT_EQ(facies.colour_of(5), red);
  EXPECT_EQ(facies.colour_of(6), blue);
  EXPECT_EQ(facies.colour_of(7), nothing);
  EXPECT_EQ(facies.classes.front().label, "Clay");
}

TEST(colours, of_the_default_are_even_and_show_most_values) {
  const std::vector<rgb> ramp = even_ramp(9);
  const auto light = [](const rgb& colour) { return 0.3 * colour[0] + 0.6 * colour[1] + 0.1 * colour[2]; };
  for (std::size_t i = 1; i < ramp.size(); ++i) EXPECT_GT(light(ramp[i]), light(ramp[i - 1]) + 10) << i;

  // One value far out takes the last colour, and not all of the others' room.
  std::vector<double> values;
  for (int i = 0; i < 100; ++i) values.push_back(i);
  EXPECT_EQ(default_map(values).classes.back().high, 99);
  values.push_back(1e6);
  const colour_map map = default_map(values);
  EXPECT_LT(map.classes.back().high, 100);
  EXPECT_EQ(map.colour_of(1e6), even_ramp(map.classes.size()).back());
}

TEST(axes, have_round_ticks) {
  const auto ticks = [](double low, double high, int most) {
    const axis made = make_axis({low, high}, most);
    std::string all;
    for (const double tick : made.ticks) all += made.text(tick) + " ";
    return all;
  };
  EXPECT_EQ(ticks(0, 10, 5), "0 2 4 6 8 10 ");
  EXPECT_EQ(ticks(-0.3, 0.31, 4), "-0.2 0.0 0.2 ");
  EXPECT_EQ(ticks(178460, 181580, 4), "179000 180000 181000 ");
  EXPECT_EQ(ticks(0.0011, 0.0029, 4), "0.0015 0.0020 0.0025 ");
  // What floating point can't tell apart ends too.
  EXPECT_LE(make_axis(widened({1e30, 1e30}, 0), 5).ticks.size(), 6U);
  EXPECT_LE(make_axis({1e15, std::nextafter(1e15, 2e15)}, 5).ticks.size(), 6U);
}

TEST(grids, know_the_places_of_their_nodes) {
  client::file_info info;
  info.nx = 2, info.ny = 3, info.nz = 4, info.samples = 24;
  info.origin = {100, 200, 300};
  info.mesh = {10, 20, 5};
  info.angles[0] = 90;  // x leads to the north, y to the west
  const grid turned(info);
  EXPECT_EQ(turned.sample(1, 2, 3), 23U);
  EXPECT_EQ(turned.sample(0, 2, 0), 8U);
  EXPECT_EQ(turned.at(1, 2, 3), (client::point3{60, 210, 315}));
  EXPECT_EQ(turned.nodes_at({60, 210, 315}), (client::point3{1, 2, 3}));
  // About the new y: x dips by 30 degrees.
  info.angles[0] = 0, info.angles[1] = 30;
  EXPECT_NEAR(grid(info).at(1, 0, 0).z, 295, 1e-9);
  EXPECT_NEAR(grid(info).at(0, 0, 1).x, 102.5, 1e-9);
  info.samples = 25;
  EXPECT_THROW(grid{info}, client::error);
}

TEST(texts, are_utf8_without_control_characters) {
  picture drawn;
  drawn.add_label({{1, 2}, "<&\x01>"});
  EXPECT_NE(svg_text(drawn).find(">&lt;&amp; &gt;</text>"), std::string::npos);
  EXPECT_EQ(shown_text("gr\xc3\xbc\xc3\x9f\n"), "gr\xc3\xbc\xc3\x9f ");
  EXPECT_EQ(shown_text("gr\xfc\xdf\x1b"), "gr\xc3\xbc\xc3\x9f ");
  for (const char* wrong : {"\xed\xa0\x80", "\xc0\xaf", "\xf4\x90\x80\x80", "\xef\xbf\xbf", "\xe2\x82"})
    EXPECT_NE(shown_text(wrong), wrong);
  EXPECT_EQ(fitted("a long name of \xc3\xbc\xc3\xbc\xc3\xbc\xc3\xbc\xc3\xbc", 10, 95),
            "a long name of \xc3\xbc…");
}

}  // namespace
}  // namespace qrd::plot
