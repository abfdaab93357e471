// Checks that report wrong parameters to the person at the console.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"

namespace qrd {

// Wrong parameters become a report on the console: 1 all is well, 0 not.
int qd_check_file(std::int64_t organisation, std::int64_t dimension, const char* directory, const char* file,
                  const char* selection, const char* text, qd_file_info* info);
enum variable_class : int {
  CLASS_SELECTION = 1,
  CLASS_FLOAT = 2,
  CLASS_CHAR = 3,
  CLASS_MACRO = 4,
  CLASS_NUMERICAL = 5
};
int qd_check_variable(variable_class wanted, const char* directory, const char* file, const char* selection,
                      const char* variable, const char* text, qd_file_info* info,
                      qd_variable_place* place = nullptr);

}  // namespace qrd
