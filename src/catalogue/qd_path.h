// From the names of the catalogue to paths on disk. Every call reads the disk.
#pragma once

#include "util/qu_constants.h"

namespace qrd {

// Paths of DIRE.<n>, FILE.<m>, VARI.<k>: true if found, false also if a sibling is corrupted.
[[nodiscard]] bool qd_directory_path(const char* directory, path_text& path);
[[nodiscard]] bool qd_file_path(const char* directory, const char* file, path_text& path);
// `variable` carries no index.
[[nodiscard]] bool qd_variable_path(const char* directory, const char* file, const char* variable,
                                    path_text& path);
// The same below a known parent path.
[[nodiscard]] bool qd_file_path_in(const char* directory_path, const char* file, path_text& path);
[[nodiscard]] bool qd_variable_path_in(const char* file_path, const char* variable, path_text& path);

}  // namespace qrd
