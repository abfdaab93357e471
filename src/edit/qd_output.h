// The gate for an output variable of a library writer.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"
#include "samples/qd_select.h"
#include "samples/qd_selected.h"

namespace qrd {

// Keeps, replaces or creates the variable so that it fits, and selects it. 1, or 0 after a report.
int qd_new_old_var_select(bool overwrite, const char* directory, const char* file, const char* variable,
                          std::int32_t type, unit_choice choice, std::int64_t bit_length,
                          const qd_format_record* format, qd_variable_handle& handle);

}  // namespace qrd
