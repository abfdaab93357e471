// What a vertical plane cuts, exactly.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "plot/axis.h"
#include "plot/draw.h"
#include "qrd/objects.h"

namespace qrd::plot {

// Through two points of the map.
class plane {
 public:
  // Two points that are one are an `error`.
  explicit plane(const section_wish& wish);

  double length() const { return length_; }
  double width() const { return width_; }
  // The way from the first point, for a place in the plane or beside it.
  double along(const client::point3& at) const;
  // Above 0 to the left of the plane, below 0 to the right, and 0 on it: of coordinates that differ from it
  // by rounding alone too.
  double side(const client::point2& at) const;
  // In the corridor, and between its ends.
  bool is_near(const client::point3& at) const;
  client::point3 at(double here, double z) const;
  // Where it lies and leads to, in words.
  std::string text(const std::string& unit) const;

 private:
  section_wish wish_;
  point way_;
  double length_ = 0;
  double width_ = 0;
};

using triangle = std::array<client::point3, 3>;
// Whether it is more than a line or a point.
bool has_area(const triangle& of);

// In the plane: x is the way along it, y the height.
struct cut_line {
  point from;
  point to;
  bool operator==(const cut_line&) const = default;
};

// Between the ends of the plane. Of triangles that lie in the plane only the edges that not two of them
// share; an edge in the plane comes once.
std::vector<cut_line> cut(const plane& by, std::span<const triangle> surface);
// The parts of the plane that are inside of a ring, in their order, its edge included.
std::vector<extent> cut(const plane& by, const std::vector<client::point2>& ring);
// Where a line from one point to another crosses the plane; nothing where it lies in it.
std::optional<double> crossing(const plane& by, const client::point2& from, const client::point2& to);

}  // namespace qrd::plot
