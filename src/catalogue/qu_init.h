// The root: where it is, and whether it can be written.
#pragma once

#include <cstdint>

#include "util/qu_constants.h"
#include "util/qu_list.h"

namespace qrd {

// The word lists of parameter files: "Free".., "3".. to "19", "0".. to "9", and the unit names.
extern string_list length_unit_names;
extern string_list format_names;
extern string_list width_names;
extern string_list digit_names;
extern string_list other_unit_names;

// Opens the root for the process; null means QRD_INIT, else the per-user data folder. Failures are
// fatal. `mode` is 0 for a server.
void qu_init(int mode, const char* root, const char* short_name, const char* name, const char* version,
             const char* long_version);

// Creates and deletes a file WRT_TRY_<random> of a folder, which holds `text` for an instant. `path`
// receives its name.
enum class write_test { passed, cannot_create, cannot_delete, folder_gone };
write_test qu_write_test(const char* folder, const char* text, path_text& path);

}  // namespace qrd
