// Wireframe files: a 3D points file with one sample per object, and the companion "WIREFRAME" (see
// disk/qd_wireframe_format.h).
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qu_wireframe.h"
#include "edit/qd_companion.h"

namespace qrd {

// Makes a file with its wireframes; no other may have its name. False after a failure, which leaves nothing.
// May end the process.
[[nodiscard]] bool qd_wireframe_write(const char* directory, const char* file, wireframe& root);
// Whether the file has wireframes that can be read, and what a selection leaves of them be counted.
geometry qd_wireframe_info(const found_file& file, const char* selection);
// What is damaged is moved aside.
geometry qd_wireframe_read(const found_file& file, const char* selection, std::unique_ptr<wireframe>& root);

}  // namespace qrd
