// Checks that report wrong parameters to the person at the console.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"

namespace qrd {

// False after a report of wrong parameters on the console.
[[nodiscard]] bool qd_check_file(std::int64_t organisation, std::int64_t dimension, const char* directory,
                                 const char* file, const char* selection, const char* text,
                                 qd_file_info* info);
enum variable_class : int {
  CLASS_SELECTION = 1,
  CLASS_FLOAT = 2,
  CLASS_CHAR = 3,
  CLASS_MACRO = 4,
  CLASS_NUMERICAL = 5
};
[[nodiscard]] bool qd_check_variable(variable_class wanted, const char* directory, const char* file,
                                     const char* selection, const char* variable, const char* text,
                                     qd_file_info* info, qd_variable_place* place = nullptr);

}  // namespace qrd
