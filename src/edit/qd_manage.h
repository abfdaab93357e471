// Creating and deleting directories and files of the catalogue.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"
#include "edit/qd_file_content.h"
#include "samples/qd_variable_table.h"

namespace qrd {

// False after reports. What another server may do between the caller's test and the operation is no
// precondition: that an object exists already, or is no more, is a failure. A failed creation leaves nothing.
[[nodiscard]] bool qd_create_directory(const char* name);
[[nodiscard]] bool qd_delete_directory(const char* name);
// With a content the file appears with all of it, or not at all. May end the process. REQUIRES: an
// organisation.
[[nodiscard]] bool qd_create_file(const char* directory, const char* name, std::int64_t organisation,
                                  std::int64_t dimension, const qd_grid_record* grid,
                                  file_content* content = nullptr);

[[nodiscard]] bool qd_delete_file(const char* directory, const char* name);

}  // namespace qrd
