// The root: where it is, and whether it can be written.
#pragma once

#include <cstdint>

#include "util/qu_constants.h"

namespace qrd {

// Opens the root for the process; null means QRD_INIT, else the per-user data folder. Failures are fatal. May
// end the process. Name and version are those of the program.
void qu_init(const char* root, const char* name, const char* version);

// Creates and deletes a file WRT_TRY_<random> of a folder, which holds `text` for an instant. `path`
// receives its name.
enum class [[nodiscard]] write_test{passed, cannot_create, cannot_delete, folder_gone};
write_test qu_write_test(const char* folder, const char* text, path_text& path);

}  // namespace qrd
