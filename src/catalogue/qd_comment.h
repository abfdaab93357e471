// The comments of files and variables.
#pragma once

#include <string>

#include "util/qu_outcome.h"

namespace qrd {

// Without a comment or an object the text is empty. Null variable: the file's comment. REQUIRES: a directory
// and a file, here and below.
found qd_comment_read(const char* directory, const char* file, const char* variable, std::string& text);
// The text always replaces the old one. False after a report if there is no such object, or if it can't be
// written.
[[nodiscard]] bool qd_comment_write(const char* directory, const char* file, const char* variable, int append,
                                    const char* text);

}  // namespace qrd
