// Creating and deleting variables of the catalogue.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"
#include "samples/qd_variable_table.h"
#include "util/qu_outcome.h"

namespace qrd {

// False after reports, as in qd_manage.h. That the name is taken, or that nobody can tell, goes to `present`
// without a report if there is one; else it stays as it is.
[[nodiscard]] bool qd_create_variable(const char* directory, const char* file, const char* name,
                                      std::int32_t type, std::int32_t kind, std::int64_t bit_length,
                                      const qd_format_record* format, found* present = nullptr);
// The handle's new, empty value; or the same again if the variable could not be deleted, which has been told.
qd_variable_handle qd_delete_variable(const qd_variable_handle& handle);

}  // namespace qrd
