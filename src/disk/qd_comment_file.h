// The comment of a file or variable: the plain text COMMENT in its folder.
#pragma once

#include "disk/qd_descriptor.h"
#include "util/qu_constants.h"

namespace qrd {

void qd_comment_path(const char* object_path, path_text& path);
// Puts a text in place of the old one. Unless it is sound this has been reported, and the old one stays.
object_state qd_comment_replace(const char* object_path, const char* text);

}  // namespace qrd
