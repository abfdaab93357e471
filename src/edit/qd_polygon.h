// Polygon files: a points file with one sample per polygon, whose geometry lies in the companion
// "POLYGON" (or "POLYGON.TMP" where `temporary` is set).
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qu_polygon.h"
#include "edit/qd_companion.h"

namespace qrd {

// The header of a polygon file; lengths in centimetres.
struct polygon_info {
  std::int64_t dimension_word = 0;  // as it stands in the file
  std::int64_t polygon_count = 0;
  std::int64_t contour_count = 0;
  std::int64_t vertex_count = 0;
  double x_min = 0, x_max = 0, y_min = 0, y_max = 0, z_min = 0, z_max = 0;
};

// A selection narrows the result; null and "None" mean none.
geometry qd_polygon_info(const char* directory, const char* file, const char* selection, bool temporary,
                         polygon_info& info);
// What is damaged is moved aside.
geometry qd_polygon_read(const char* directory, const char* file, const char* selection, bool temporary,
                         std::unique_ptr<polygon_system>& system);
// Makes a file with its polygons; no other may have its name. False after a failure, which leaves nothing.
// May end the process.
[[nodiscard]] bool qd_polygon_new(const char* directory, const char* file, polygon_system& system);
// Removes the polygons and, unless `temporary`, the points file.
void qd_polygon_delete(const char* directory, const char* file, bool temporary);

}  // namespace qrd
