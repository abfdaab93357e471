#include "disk/qu_polygon_shape.h"

#include <algorithm>
#include <cmath>

#include "util/qu_message.h"

namespace qrd {

namespace {

// Bound of a cross product below which a corner counts as straight; absolute, in cm2.
constexpr double collinear_bound = 1e-5;
constexpr std::size_t least_vertices = 3;
// Edges whose common box is compared first.
constexpr std::size_t block_edges = 64;

struct box {
  double x_min, x_max, y_min, y_max;
};

box edge_box(const vertex& p, const vertex& q) {
  return {std::min(p.x, q.x), std::max(p.x, q.x), std::min(p.y, q.y), std::max(p.y, q.y)};
}

bool touch(const box& a, const box& b) {
  return a.x_max >= b.x_min && b.x_max >= a.x_min && a.y_max >= b.y_min && b.y_max >= a.y_min;
}

// On which side of the line from p to q a vertex lies: -1, 0 (on it), 1.
int side(const vertex& p, const vertex& q, const vertex& tested) {
  const double cross = (q.x - p.x) * (tested.y - p.y) - (q.y - p.y) * (tested.x - p.x);
  return (cross > 0) - (cross < 0);
}

// Touching counts as crossing.
bool cross(const vertex& p, const vertex& q, const vertex& b, const vertex& c) {
  return touch(edge_box(p, q), edge_box(b, c)) && side(b, c, p) * side(b, c, q) < 1 &&
         side(p, q, b) * side(p, q, c) < 1;
}

// The edges of a ring that have been passed: edge i runs from vertex i to vertex i + 1. Whole blocks
// of them are ruled out by their boxes.
class passed_edges {
 public:
  explicit passed_edges(const vertex_ring& vertices) : vertices_(vertices) {}

  // Tells of the edges from `start` on, among the first `count` ones.
  bool any_crosses(std::size_t start, std::size_t count, const vertex& b, const vertex& c) {
    extend(count);
    const box tested = edge_box(b, c);
    for (std::size_t i = start; i < count;) {
      const std::size_t block = i / block_edges;
      const std::size_t end = std::min(count, (block + 1) * block_edges);
      if (touch(boxes_[block], tested))
        for (; i < end; ++i)
          if (cross(vertices_[i], vertices_[i + 1], b, c)) return true;
      i = end;
    }
    return false;
  }

 private:
  void extend(std::size_t count) {
    for (; known_ < count; ++known_) {
      const box edge = edge_box(vertices_[known_], vertices_[known_ + 1]);
      if (known_ % block_edges == 0) {
        boxes_.push_back(edge);
        continue;
      }
      box& whole = boxes_.back();
      whole = {std::min(whole.x_min, edge.x_min), std::max(whole.x_max, edge.x_max),
               std::min(whole.y_min, edge.y_min), std::max(whole.y_max, edge.y_max)};
    }
  }

  const vertex_ring& vertices_;
  std::vector<box> boxes_;
  std::size_t known_ = 0;
};

}  // namespace

ring_state qu_ring_check(vertex_ring& ring) {
  if (ring.empty()) return ring_state::degenerate;
  if (ring.back().x == ring.front().x && ring.back().y == ring.front().y) ring.pop_back();
  if (ring.size() < least_vertices) return ring_state::degenerate;

  // `kept` is what stays, up to A; B and C follow in the ring, whose end leads back to its start.
  vertex_ring kept{ring.front()};
  passed_edges edges(kept);
  std::size_t remaining = ring.size();
  for (std::size_t at_b = 1; at_b < ring.size(); ++at_b) {
    const vertex& a = kept.back();
    const vertex& b = ring[at_b];
    const bool closing = at_b + 1 == ring.size();
    const vertex& c = closing ? ring.front() : ring[at_b + 1];
    if (std::abs((b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x)) < collinear_bound) {
      if (--remaining < least_vertices) return ring_state::degenerate;
      continue;
    }
    // The closing edge shares a vertex with the first edge.
    if (edges.any_crosses(closing ? 1 : 0, kept.size() - 1, b, c)) return ring_state::self_intersecting;
    kept.push_back(b);
  }
  ring = std::move(kept);
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
