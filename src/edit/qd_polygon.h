// Polygon files: a points file with one sample per polygon, whose geometry lies in the companion "POLYGON".
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qu_polygon.h"
#include "edit/qd_companion.h"

namespace qrd {

// Whether the file has polygons, and the box that its header tells; under a selection (null and "None" mean
// none) that of the polygons that it leaves. These have to be read for it, and come into `system` if there is
// one.
geometry qd_polygon_info(const found_file& file, const char* selection, polygon_box& box,
                         std::unique_ptr<polygon_system>* system = nullptr);
// What is damaged is moved aside.
geometry qd_polygon_read(const found_file& file, const char* selection,
                         std::unique_ptr<polygon_system>& system);
// Makes a file with its polygons; no other may have its name. False after a failure, which leaves nothing.
// May end the process.
[[nodiscard]] bool qd_polygon_new(const char* directory, const char* file, polygon_system& system);
// Removes a file that has polygons.
void qd_polygon_delete(const char* directory, const char* file);

}  // namespace qrd
