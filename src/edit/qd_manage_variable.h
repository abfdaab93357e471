// Creating and deleting variables of the catalogue.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"
#include "samples/qd_variable_table.h"

namespace qrd {

// False after reports, as in qd_manage.h. Whether the name is taken is seen at last, under the lock: who
// doesn't know that it is free asks before. May end the process. REQUIRES: a bit length that the type and
// kind can have; for a coordinate, where the study keeps units, a format that is a length.
[[nodiscard]] bool qd_create_variable(const char* directory, const char* file, const char* name,
                                      std::int32_t type, std::int32_t kind, std::int64_t bit_length,
                                      const qd_format_record* format);
// The handle's new, empty value; or the same again if the variable could not be deleted, which has been told.
// A data file that can't be closed is fatal. May end the process. REQUIRES: it is selected, and just once.
qd_variable_handle qd_delete_variable(const qd_variable_handle& handle);

}  // namespace qrd
