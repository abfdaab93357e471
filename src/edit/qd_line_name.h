// The variable that names the lines of a linked lines file.
#pragma once

#include <cstdint>

namespace qrd {

// 0 done, 1 refused with a message, 2 problem.
int qd_var_as_line_name(const char* directory, const char* file, const char* variable);

}  // namespace qrd
