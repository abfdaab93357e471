// The descriptor of a variable (see qd_directory_descriptor.h for what the results mean).
#pragma once

#include <cstdio>

#include "disk/qd_descriptor.h"
#include "disk/qd_records.h"

namespace qrd {

object_state qd_variable_descriptor_read(const char* path, qd_variable_record& record);
object_state qd_variable_descriptor_write(const char* path, const qd_variable_record& record);

// The bytes of a descriptor into an open file. False after a failure.
[[nodiscard]] bool qd_variable_descriptor_put(std::FILE* stream, const qd_variable_record& record);

// False if the data file of such a variable would be longer than 64 bits can tell.
bool qd_data_length_fits(const qd_file_record& file, const qd_variable_record& variable);

}  // namespace qrd
