// The descriptor of a file of samples (see qd_directory_descriptor.h for what the results mean).
#pragma once

#include <cstdio>

#include "disk/qd_descriptor.h"
#include "disk/qd_records.h"

namespace qrd {

object_state qd_file_descriptor_read(const char* path, qd_file_record& record);
object_state qd_file_descriptor_write(const char* path, const qd_file_record& record);

// The bytes of a descriptor into an open file (see descriptor_changes). False after a failure.
[[nodiscard]] bool qd_file_descriptor_put(std::FILE* stream, const qd_file_record& record);

// Removes the derived files of a file's folder.
void qd_delete_derived_files(const char* file_path);

}  // namespace qrd
