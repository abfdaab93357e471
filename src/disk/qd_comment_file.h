// The comment of a file or variable: the plain text COMMENT in its folder.
#pragma once

#include "util/qu_constants.h"

namespace qrd {

void qd_comment_path(const char* object_path, path_text& path);
// Puts a text in place of the old one: 0, or 1 after reports.
int qd_comment_replace(const char* object_path, const char* text);

}  // namespace qrd
