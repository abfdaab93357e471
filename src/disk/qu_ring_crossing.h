// Whether the edges of a ring cross or touch each other.
#pragma once

#include "disk/qu_polygon.h"

namespace qrd {

// The corners of a ring, and what is tested behind each: edge i runs from corner i to corner i + 1 (the last
// one to corner 0), and the tested segment m, m > 0, from corner m to `ahead[m]`, which lies on edge m unless
// corners behind it were left out as collinear.
struct ring_corners {
  vertex_ring corners;
  vertex_ring ahead;       // [0] is not used
  bool is_closed = false;  // the last tested segment leads to corner 0, where edge 0 begins
};

// True if a tested segment m crosses or touches one of the edges 0 to m - 2; the one that closes the ring is
// not compared with edge 0. A sweep over the corners from left to right (M. I. Shamos, D. Hoey, Geometric
// intersection problems, 1976); where rounding leaves the order of two edges open, each is compared with
// each.
bool qu_ring_crosses(const ring_corners& ring);

}  // namespace qrd
