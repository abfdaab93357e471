// The descriptor of a directory.
//
// Of all descriptors: what is read rewrites an old version, and reports what is damaged or unreadable; but
// not that an old one is locked for too long.
#pragma once

#include "disk/qd_descriptor.h"
#include "util/qu_constants.h"

namespace qrd {

object_state qd_directory_descriptor_read(const char* path, name_text& name);
object_state qd_directory_descriptor_write(const char* path, const char* name);

}  // namespace qrd
