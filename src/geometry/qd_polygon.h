// Polygon files on disk: the companion file "POLYGON" of a points file.
#pragma once

#include <cstdint>

namespace qrd {

// The header of a polygon file; lengths in centimetres.
struct polygon_info {
  std::int64_t dimension_word = 0;  // as it stands in the file
  std::int64_t polygon_count = 0;
  std::int64_t contour_count = 0;
  std::int64_t vertex_count = 0;
  double x_min = 0, x_max = 0, y_min = 0, y_max = 0, z_min = 0, z_max = 0;
  std::int64_t variable_count = 0;  // variables of the points file that a user made
};

// 0 read; 1 directory or file missing, or corrupted; 2 can't tell; 3 no polygons. A selection narrows
// the result; null and "None" mean none.
int qd_polygon_info(const char* directory, const char* file, const char* selection, bool temporary,
                    polygon_info& info);

}  // namespace qrd
