// Polygon files: a points file with one sample per polygon, whose geometry lies in the companion
// "POLYGON" (or "POLYGON.TMP" where `temporary` is set).
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qu_polygon.h"

namespace qrd {

// The header of a polygon file; lengths in centimetres.
struct polygon_info {
  std::int64_t dimension_word = 0;  // as it stands in the file
  std::int64_t polygon_count = 0;
  std::int64_t contour_count = 0;
  std::int64_t vertex_count = 0;
  double x_min = 0, x_max = 0, y_min = 0, y_max = 0, z_min = 0, z_max = 0;
};

// 0 read; 1 directory or file missing, or corrupted; 2 can't tell; 3 no polygons. A selection narrows
// the result; null and "None" mean none.
int qd_polygon_info(const char* directory, const char* file, const char* selection, bool temporary,
                    polygon_info& info);
// The system or null. Status 0 read; 1 damaged, and moved aside; 2 can't tell, or no such file; 3 no
// polygons.
std::unique_ptr<polygon_system> qd_polygon_read(const char* directory, const char* file,
                                                const char* selection, bool temporary, int& status);
// Makes a file with its polygons; no other may have its name. 0 made; 2 failed, nothing is left.
int qd_polygon_new(const char* directory, const char* file, polygon_system& system);
// Removes the polygons and, unless `temporary`, the points file.
void qd_polygon_delete(const char* directory, const char* file, bool temporary);

}  // namespace qrd
