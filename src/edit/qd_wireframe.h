// Wireframe files: a 3D points file with one sample per object, and the companion "WIREFRAME" (see
// disk/qd_wireframe_format.h).
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qu_wireframe.h"
#include "edit/qd_companion.h"

namespace qrd {

struct wireframe_info {
  std::int64_t object_count = 0;
  std::int64_t vertex_count = 0;
  std::int64_t triangle_count = 0;
  double x_min = 0, x_max = 0, y_min = 0, y_max = 0, z_min = 0, z_max = 0;
};

// Makes a file with its wireframes; no other may have its name. False after a failure, which leaves nothing.
// May end the process.
[[nodiscard]] bool qd_wireframe_write(const char* directory, const char* file, wireframe& root);
// What is damaged is moved aside.
geometry qd_wireframe_read(const char* directory, const char* file, const char* selection,
                           std::unique_ptr<wireframe>& root);
geometry qd_wireframe_info(const char* directory, const char* file, const char* selection,
                           wireframe_info& info);

}  // namespace qrd
