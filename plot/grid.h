// The nodes of a grid: where they lie, and which sample each is.
#pragma once

#include <cstdint>

#include "qrd/types.h"

namespace qrd::plot {

class grid {
 public:
  // A grid whose numbers of nodes and samples don't agree is an `error`.
  explicit grid(const client::file_info& info);

  // Along x, y and z.
  std::int64_t nodes(std::size_t axis) const { return nodes_[axis]; }
  // The place of a node, from 0 along each axis; half a node away is the edge of its cell.
  client::point3 at(double ix, double iy, double iz) const;
  // The other way round, in nodes from 0.
  client::point3 nodes_at(const client::point3& place) const;
  // The number of the sample, from 0: z runs fastest, then y.
  std::size_t sample(std::int64_t ix, std::int64_t iy, std::int64_t iz) const;
  // Turned on the map.
  bool is_turned() const { return directions_[0].y != 0 || directions_[1].x != 0; }

 private:
  std::int64_t nodes_[3];
  client::point3 origin_;
  double mesh_[3];
  client::point3 directions_[3];  // unit lengths along x, y and z of the grid
};

}  // namespace qrd::plot
