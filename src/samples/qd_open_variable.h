// From names to selected variables.
#pragma once

#include <cstdint>

#include "samples/qd_variable_table.h"

namespace qrd {

enum unit_choice : int {
  UNIT_NONE = 0,      // values as stored
  UNIT_VARIABLE = 1,  // the variable's own factor
  UNIT_DISTANCE = 2   // the client's distance unit for lengths
};

// False when too many files are open, the data file can't be decompressed or opened for writing, or there
// is no such variable or column: callers have tested that, but another server may delete or change it between
// the test and the selection.
[[nodiscard]] bool qd_variable_select(const char* directory, const char* file, const char* variable,
                                      unit_choice choice, qd_variable_handle& handle);
// The same without a walk, for a variable whose own name was found at a place a moment ago: false also if
// another variable has that place now.
[[nodiscard]] bool qd_variable_select_at(const qd_variable_place& place, const char* directory,
                                         const char* file, const char* variable, unit_choice choice,
                                         qd_variable_handle& handle);
// "None" gives the empty handle. False if the name isn't a selection of this file.
[[nodiscard]] bool qd_selection_select(const char* directory, const char* file, const char* selection,
                                       qd_variable_handle& handle);

}  // namespace qrd
