// The file "POLYGON" (XDR). Header:
//
//   xint         version; 6 is written
//   xint         dimension: 2 or 3 from version 5, before that 0 for 2 and anything else for 3
//   counts       1, 2: xint compounds, contours, vertices; 3: xint polygons, compounds, contours,
//                vertices; 4, 5: xint polygons, contours, vertices; 6: the same three as xlong
//   xdouble x 6  x, y, z: minimum and maximum each
//
// Body from version 4 on, polygon by polygon:
//
//   xstring(32)  name, trimmed
//   xint x 4     red, green, blue, attribute
//   xdouble x 3  center
//   xint x 2     marked, number of contours, which follow:
//     xstring(32)  name, trimmed
//     xint         has-grid (1: a grid block follows)
//     xdouble x 2  z limits; in version 4 an xint has-limits stands before them
//     ring         xint count, then xdouble x, y of each vertex
//     xint         hole count, then a ring each
//
// Grid block: origin x, y, z, mesh x, y, z (xdouble), counts x, y, z (xint), angle (xdouble). Up to
// version 4: origin, mesh, counts of x and y, in 3D then origin, mesh, count of z, then the angle.
//
// Versions 1 to 3 hold each contour as a polygon of its own, then the compounds that group them; the
// layout stands with its reader.
#pragma once

#include <cstdint>
#include <optional>

#include "disk/object_names.h"
#include "disk/qu_polygon.h"
#include "util/qu_xdr.h"

namespace qrd {

inline constexpr std::int64_t polygon_file_version = 6;
inline constexpr std::int64_t last_compound_version = 3;

struct polygon_header {
  std::int64_t version = polygon_file_version;
  std::int64_t dimension_word = 2;
  std::int64_t polygon_count = 0;
  std::int64_t compound_count = 0;  // up to version 3
  std::int64_t contour_count = 0;
  std::int64_t vertex_count = 0;
  double x_min = 0, x_max = 0, y_min = 0, y_max = 0, z_min = 0, z_max = 0;

  std::int64_t dimension() const {
    const bool is_3d = version >= 5 ? dimension_word == 3 : dimension_word != 0;
    return is_3d ? 3 : 2;
  }
};

// All of these give false after a failed or refused item.

// In both directions; only version 6 is written.
bool qd_polygon_header_move(XDR* xdr, polygon_header& header);
bool qd_polygon_body_write(XDR* xdr, polygon_system& system);
// `bytes_left` bounds what counts may promise; only polygons of the kept names are built.
bool qd_polygon_body_read(XDR* xdr, const polygon_header& header, std::int64_t bytes_left,
                          const std::optional<object_name_set>& kept, polygon_system& system);

// Shared by the readers: a grid block up to version 4, and a ring.
bool qd_polygon_old_grid_read(XDR* xdr, bool is_3d, qd_grid_record& grid);
bool qd_polygon_ring_move(XDR* xdr, std::int64_t bytes_left, vertex_ring& ring);

}  // namespace qrd
