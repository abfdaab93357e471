#include "plot/grid.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "qrd/error.h"

namespace qrd::plot {

namespace {

struct turn {
  double cosine, sine;
};

// A quarter of a turn is one exactly.
turn turn_of(double degrees) {
  const double quarters = degrees / 90;
  if (std::abs(quarters - std::round(quarters)) < 1e-7 && std::abs(quarters) < 1e6) {
    constexpr turn exact[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    return exact[(std::llround(quarters) % 4 + 4) % 4];
  }
  const double angle = degrees * std::numbers::pi / 180;
  return {std::cos(angle), std::sin(angle)};
}

}  // namespace

grid::grid(const client::file_info& info)
    : nodes_{info.nx, info.ny, std::max(1, info.nz)},
      origin_(info.origin),
      mesh_{info.mesh.x, info.mesh.y, info.mesh.z} {
  const double all =
      static_cast<double>(nodes_[0]) * static_cast<double>(nodes_[1]) * static_cast<double>(nodes_[2]);
  if (nodes_[0] < 1 || nodes_[1] < 1 || all != static_cast<double>(info.samples))
    throw client::error("the grid has " + std::to_string(info.samples) + " samples, which are not its nodes");
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(mesh_[axis] > 0)) mesh_[axis] = nodes_[axis] > 1 ? std::nan("") : 1;
  if (std::isnan(mesh_[0] + mesh_[1] + mesh_[2])) throw client::error("the grid has a mesh of no size");
  // About z, then about the new y, then about the new x.
  const turn a = turn_of(info.angles[0]), b = turn_of(info.angles[1]), c = turn_of(info.angles[2]);
  directions_[0] = {a.cosine * b.cosine, a.sine * b.cosine, -b.sine};
  directions_[1] = {b.sine * a.cosine * c.sine - c.cosine * a.sine,
                    b.sine * a.sine * c.sine + c.cosine * a.cosine, c.sine * b.cosine};
  directions_[2] = {b.sine * a.cosine * c.cosine + c.sine * a.sine,
                    b.sine * a.sine * c.cosine - c.sine * a.cosine, c.cosine * b.cosine};
}

client::point3 grid::at(double ix, double iy, double iz) const {
  const double along[3] = {ix * mesh_[0], iy * mesh_[1], iz * mesh_[2]};
  client::point3 place = origin_;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    place.x += along[axis] * directions_[axis].x;
    place.y += along[axis] * directions_[axis].y;
    place.z += along[axis] * directions_[axis].z;
  }
  return place;
}

client::point3 grid::nodes_at(const client::point3& place) const {
  const auto along = [&](std::size_t axis) {
    const client::point3& way = directions_[axis];
    return ((place.x - origin_.x) * way.x + (place.y - origin_.y) * way.y + (place.z - origin_.z) * way.z) /
           mesh_[axis];
  };
  return {along(0), along(1), along(2)};
}

std::size_t grid::sample(std::int64_t ix, std::int64_t iy, std::int64_t iz) const {
  return static_cast<std::size_t>((ix * nodes_[1] + iy) * nodes_[2] + iz);
}

}  // namespace qrd::plot
