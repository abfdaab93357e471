// Renaming without replacing.
#pragma once

#include <string>

namespace qrd {

// Renames a file or a folder without replacing anything. 0, or -1 and errno (EEXIST: the name is taken).
int qu_take_name(const std::string& from, const std::string& to);
// The same by creating the name first: the way for file systems that don't know such a rename.
int qu_take_name_by_creation(const std::string& from, const std::string& to);

}  // namespace qrd
