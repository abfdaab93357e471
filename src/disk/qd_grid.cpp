// The rotation of a grid: three angles in degrees, first about the vertical axis.
#include "disk/qd_grid.h"

#include <cmath>

namespace qrd {

namespace {

struct direction {
  double cos, sin;
};

// Right angles give exact matrices, so that such a grid has exact coordinates.
direction direction_of(double angle) {
  constexpr struct {
    double angle;
    direction exact;
  } right_angles[] = {{0, {1, 0}}, {90, {0, 1}}, {-90, {0, -1}}, {180, {-1, 0}}, {-180, {-1, 0}}};
  for (const auto& right : right_angles) {
    if (std::fabs(angle - right.angle) < 1e-05) return right.exact;
  }
  const double radians = angle * 3.141592653589793 / 180.0;
  return {std::cos(radians), std::sin(radians)};
}

}  // namespace

void qd_grid_compute(qd_grid_record& grid) {
  const direction a = direction_of(grid.angle1);
  const direction b = direction_of(grid.angle2);
  const direction c = direction_of(grid.angle3);
  grid.rotated = grid.angle1 != 0 || grid.angle2 != 0 || grid.angle3 != 0;

  double(&m)[9] = grid.m;
  m[0] = a.cos * b.cos;
  m[1] = a.sin * b.cos;
  m[2] = -b.sin;
  m[3] = b.sin * a.cos * c.sin - c.cos * a.sin;
  m[4] = b.sin * a.sin * c.sin + c.cos * a.cos;
  m[5] = c.sin * b.cos;
  m[6] = b.sin * a.cos * c.cos + c.sin * a.sin;
  m[7] = b.sin * a.sin * c.cos - c.sin * a.cos;
  m[8] = c.cos * b.cos;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) grid.t[3 * column + row] = m[3 * row + column];
  }
}

}  // namespace qrd
