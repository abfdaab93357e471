#include "command/desurvey.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace qrd::command {
namespace {

void expect_place(const client::point3& place, const client::point3& expected, double tolerance,
                  double depth) {
  EXPECT_NEAR(place.x, expected.x, tolerance) << depth;
  EXPECT_NEAR(place.y, expected.y, tolerance) << depth;
  EXPECT_NEAR(place.z, expected.z, tolerance) << depth;
}

const client::point3 collar{1000, 2000, 300};
const std::vector<station> bent = {{10, 350, 80}, {60, 10, 72}, {110, 25, 70.5}, {160, 200, 88}};

// The tangent, turned evenly from one direction to the next about their common normal, and integrated
// numerically along the hole.
TEST(desurvey, minimum_curvature_is_the_integral_of_an_even_turn) {
  const hole_path path(collar, bent, desurvey_method::minimum_curvature);
  const std::pair<double, client::point3> expected[] = {
      {0, collar},
      {5, {999.849231552, 2000.855050358, 295.075961235}},
      {35, {999.468812172, 2006.831005985, 265.690008784}},
      {60, {1000.287403025, 2013.619217462, 241.650214162}},
      {100, {1003.835187137, 2025.772214191, 203.715279899}},
      {160, {1008.425677382, 2035.623967232, 145.149014805}},
      {200, {1007.948224147, 2034.312175251, 105.173381724}},
  };
  for (const auto& [depth, place] : expected) expect_place(path.at(depth), place, 2e-9, depth);

  // A quarter of a circle with a radius of 100: down at first, level to the east at the end.
  const double quarter = 50 * std::numbers::pi;
  const hole_path round({0, 0, 0}, {{0, 90, 90}, {quarter, 90, 0}}, desurvey_method::minimum_curvature);
  expect_place(round.at(quarter), {100, 0, -100}, 1e-12, quarter);
  const double half = 100 * std::numbers::sqrt2 / 2;
  expect_place(round.at(quarter / 2), {100 - half, 0, -half}, 1e-12, quarter / 2);
}

TEST(desurvey, small_turns_keep_their_digits) {
  const hole_path slight(collar, {{0, 45, 60}, {100, 45.001, 60.0005}}, desurvey_method::minimum_curvature);
  expect_place(slight.at(50), {1017.677679862, 2017.677525597, 256.698675269}, 2e-9, 50);
  expect_place(slight.at(100), {1035.355380387, 2035.354763330, 213.397241456}, 2e-9, 100);
  const hole_path straight(collar, {{0, 45, 60}, {100, 45, 60}}, desurvey_method::minimum_curvature);
  expect_place(straight.at(100), {1035.355339059, 2035.355339059, 213.397459622}, 2e-9, 100);
  // 1 + x^2/3 + 2x^4/15 + ... of tan(x)/x, on both sides of the change to the series.
  EXPECT_DOUBLE_EQ(ratio_factor(0), 1);
  EXPECT_NEAR(ratio_factor(0.0199999999999), ratio_factor(0.02), 1e-14);
  EXPECT_NEAR(ratio_factor(0.01), 1.0000083334166675, 1e-15);
  EXPECT_NEAR(ratio_factor(std::numbers::pi / 2), 4 / std::numbers::pi, 1e-15);
  EXPECT_NEAR(dogleg({0, 0, 0}, {0, 90, 0}), std::numbers::pi / 2, 1e-15);
  EXPECT_NEAR(dogleg({0, 0, 90}, {0, 123, 90}), 0, 1e-15);
  EXPECT_NEAR(dogleg({0, 359, 0}, {0, 1, 0}), std::numbers::pi / 90, 1e-15);
}

TEST(desurvey, other_methods_are_there_too) {
  const hole_path balanced(collar, bent, desurvey_method::balanced);
  expect_place(balanced.at(35), {998.944620864, 2005.985352508, 265.531728645}, 2e-9, 35);
  expect_place(balanced.at(100), {1003.743725880, 2025.739445440, 203.839280463}, 2e-9, 100);
  expect_place(balanced.at(200), {1007.905414985, 2034.196394928, 105.886424519}, 2e-9, 200);
  const hole_path tangential(collar, bent, desurvey_method::tangential);
  expect_place(tangential.at(100), {1000.337188141, 2022.433497575, 202.869274167}, 2e-9, 100);
  expect_place(tangential.at(200), {1007.449981016, 2039.291516707, 106.251001369}, 2e-9, 200);
  for (const auto method :
       {desurvey_method::minimum_curvature, desurvey_method::balanced, desurvey_method::tangential}) {
    const hole_path one(collar, {{30, 90, 45}}, method);
    const double step = 100 / std::numbers::sqrt2;
    expect_place(one.at(100), {1000 + step, 2000, 300 - step}, 1e-11, 100);
  }
}

}  // namespace
}  // namespace qrd::command
