// Polygons, wireframes and faults as they travel. Coordinates are in the client's units.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qrd/types.h"

namespace qrd::client {

// A place in the plane.
struct point2 {
  double x = 0;
  double y = 0;
  bool operator==(const point2&) const = default;
};

// A ring of a polygon. Contours of one polygon carry its name.
struct contour {
  std::string name;     // at most 15 characters
  std::string polygon;  // empty when it is sent: the contour's name
  double z_min = 0;
  double z_max = 0;
  std::vector<point2> vertices;
  bool operator==(const contour&) const = default;
};

// The polygons of a file and the box around them.
struct polygon_set {
  std::int32_t dimension = 2;
  point3 lowest;
  point3 highest;
  std::vector<contour> contours;
};

// Three corners of a surface.
struct triangle {
  std::int32_t vertices[3] = {0, 0, 0};  // from 0, within the piece
  bool operator==(const triangle&) const = default;
};

// A surface of triangles.
struct wireframe_piece {
  std::vector<point3> vertices;
  std::vector<triangle> triangles;
  bool operator==(const wireframe_piece&) const = default;
};

// A body or a surface in one or more pieces, with its colour (0 to 255 each).
struct wireframe {
  std::string name;
  std::int32_t red = 0;
  std::int32_t green = 145;
  std::int32_t blue = 0;
  std::vector<wireframe_piece> pieces;
  bool operator==(const wireframe&) const = default;
};

// A line from the first to the second point (2D), or a triangle.
struct fault_segment {
  point3 points[3];
  double attributes[3] = {missing_value, missing_value, missing_value};
  std::int32_t priority = 1;  // 1 to 127
  bool operator==(const fault_segment&) const = default;
};

// Segments under one name.
struct fault {
  std::string name;  // at most 7 characters
  bool is_polyline = false;
  std::vector<fault_segment> segments;
  bool operator==(const fault&) const = default;
};

// The faults of a file.
struct fault_set {
  bool is_2d = true;
  bool has_attributes = false;
  double missing = missing_value;  // of attributes
  std::vector<fault> faults;
  bool operator==(const fault_set&) const = default;
};

}  // namespace qrd::client
