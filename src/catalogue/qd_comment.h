// The comments of files and variables.
#pragma once

#include <string>

namespace qrd {

// 0 read; 1 no comment file (empty text); 2 no such object; 3 it is there and can't be read. Null variable:
// the file's comment.
inline constexpr int comment_unreadable = 3;
int qd_comment_read(const char* directory, const char* file, const char* variable, std::string& text);
// 0 written; 1 failure; 2 no such object. The text always replaces the old one.
int qd_comment_write(const char* directory, const char* file, const char* variable, int append,
                     const char* text);

}  // namespace qrd
