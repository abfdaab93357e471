// Validation and measures of polygons.
#pragma once

#include "disk/qu_polygon.h"

namespace qrd {

enum class [[nodiscard]] ring_state{valid, degenerate, self_intersecting};

// Removes a repeated last vertex and collinear corners, and tells whether the ring is valid.
ring_state qu_ring_check(vertex_ring& ring);
// Deletes bad contours with a report. False if nothing is left of the polygon.
[[nodiscard]] bool qu_polygon_check(polygon_system& system, polygon& checked);
// Area (cm2) in 2D, volume (cm3) in 3D; holes are left out.
double qu_polygon_measure(const polygon& measured);
double qu_ring_area(const vertex_ring& ring);
// (0, 0) for a ring without area.
vertex qu_ring_centroid(const vertex_ring& ring);
// Centroid of the contour without its holes, and the middle of its z limits (0 in 2D).
void qu_contour_center(const contour& measured, double& x, double& y, double& z);

}  // namespace qrd
