// The descriptor of a directory.
//
// Of all descriptors: 1 or 0 after a report. Reading rewrites an old version. What another server has taken
// away gives 0 without a report, and qd_object_gone tells so. None of them ends the process.
#pragma once

#include "util/qu_constants.h"

namespace qrd {

int qd_directory_descriptor_read(const char* path, name_text& name);
int qd_directory_descriptor_write(const char* path, const char* name);

}  // namespace qrd
