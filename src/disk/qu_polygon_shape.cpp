#include "disk/qu_polygon_shape.h"

#include <cmath>
#include <utility>

#include "disk/qu_ring_crossing.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

// Bound of a cross product below which a corner counts as straight; absolute, in cm2.
constexpr double collinear_bound = 1e-5;
constexpr std::size_t least_vertices = 3;
}  // namespace

ring_state qu_ring_check(vertex_ring& ring) {
  if (ring.empty()) return ring_state::degenerate;
  if (ring.back().x == ring.front().x && ring.back().y == ring.front().y) ring.pop_back();
  if (ring.size() < least_vertices) return ring_state::degenerate;

  // `corners` is what stays, up to A; B and C follow in the ring, whose end leads back to its start.
  ring_corners kept{{ring.front()}, {ring.front()}};
  std::size_t remaining = ring.size();
  for (std::size_t at_b = 1; at_b < ring.size(); ++at_b) {
    const vertex& a = kept.corners.back();
    const vertex& b = ring[at_b];
    const bool closing = at_b + 1 == ring.size();
    const vertex& c = closing ? ring.front() : ring[at_b + 1];
    if (std::abs((b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x)) < collinear_bound) {
      // What crosses before too few are left is told first.
      if (--remaining < least_vertices)
        return qu_ring_crosses(kept) ? ring_state::self_intersecting : ring_state::degenerate;
      continue;
    }
    kept.is_closed = closing;
    kept.corners.push_back(b);
    kept.ahead.push_back(c);
  }
  if (qu_ring_crosses(kept)) return ring_state::self_intersecting;
  ring = std::move(kept.corners);
  return ring_state::valid;
}

bool qu_polygon_check(polygon_system& system, polygon& checked) {
  if (checked.contours.empty()) {
    qu_message(" Polygon %s is degenerated: deleted", checked.name);
    return false;
  }
  for (auto next = checked.contours.begin(); next != checked.contours.end();) {
    contour* each = *next++;
    each->is_3d = checked.is_3d;
    if (each->is_3d && each->z_min > each->z_max) std::swap(each->z_min, each->z_max);
    const ring_state state = qu_ring_check(each->vertices);
    if (state == ring_state::valid) continue;
    qu_message(state == ring_state::degenerate ? " Contour %s (polygon %s) is degenerated: deleted"
                                               : " Contour %s (polygon %s) is self-intersecting: deleted",
               each->name, checked.name);
    qu_contour_delete(system, *each);
  }
  if (!checked.contours.empty()) return true;
  qu_message(" Polygon %s doesn't contain contours any more: deleted", checked.name);
  return false;
}

double qu_ring_area(const vertex_ring& ring) {
  double sum = 0;
  const std::size_t count = ring.size();
  for (std::size_t i = 0; i < count; ++i)
    sum += ring[i].x * (ring[(i + 1) % count].y - ring[(i + count - 1) % count].y);
  return std::abs(sum / 2);
}

double qu_polygon_measure(const polygon& measured) {
  double sum = 0;
  for (const contour* each : measured.contours) {
    const double thickness = each->is_3d ? each->z_max - each->z_min : 1.0;
    double area = qu_ring_area(each->vertices);
    for (const vertex_ring& hole : each->holes) area -= qu_ring_area(hole);
    sum += thickness * area;
  }
  return sum;
}

vertex qu_ring_centroid(const vertex_ring& ring) {
  if (ring.empty()) return {};
  const vertex& o = ring.front();
  double sum = 0, sum_x = 0, sum_y = 0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const vertex& p = ring[i];
    const vertex& q = ring[(i + 1) % ring.size()];
    const double w = (q.y - o.y) * (p.x - o.x) - (q.x - o.x) * (p.y - o.y);
    sum += w;
    sum_x += (p.x + q.x - 2 * o.x) * w;
    sum_y += (p.y + q.y - 2 * o.y) * w;
  }
  if (sum == 0) return {};
  return {sum_x / (3 * sum) + o.x, sum_y / (3 * sum) + o.y};
}

void qu_contour_center(const contour& measured, double& x, double& y, double& z) {
  vertex center = qu_ring_centroid(measured.vertices);
  double area = qu_ring_area(measured.vertices);
  for (const vertex_ring& hole : measured.holes) {
    const double hole_area = qu_ring_area(hole);
    if (hole_area >= area) break;
    const vertex hole_center = qu_ring_centroid(hole);
    center.x = (area * center.x - hole_area * hole_center.x) / (area - hole_area);
    center.y = (area * center.y - hole_area * hole_center.y) / (area - hole_area);
    area -= hole_area;
  }
  x = center.x;
  y = center.y;
  z = measured.is_3d ? (measured.z_min + measured.z_max) / 2 : 0;
}

}  // namespace qrd
