// The variable that names the lines of a linked lines file.
#pragma once

#include <cstdint>

namespace qrd {

// False if it can't be, which is told where the fault is the caller's.
[[nodiscard]] bool qd_var_as_line_name(const char* directory, const char* file, const char* variable);

}  // namespace qrd
