// Companion files: what hangs on a catalogue file lies beside its descriptor, in its folder.
#pragma once

#include "util/qu_constants.h"

namespace qrd {

// The path of a companion of that name; 1, or 0 if the catalogue file has no path.
int qd_companion_path(const char* directory, const char* file, const char* name, path_text& path);

}  // namespace qrd
