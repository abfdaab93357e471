// Damaged files are gone for the tree, and not for their owner.
#pragma once

#include <cstdio>
#include <string>

namespace qrd {

// Moves a file that could not be understood to a working name beside it, and tells both on the console.
// `read_from` is the stream that it was read from: what another server has put in its place since is left
// alone. True if the damaged file is no longer at `path`.
// REQUIRES: all of it was read without an error of the disk; that is no damage.
bool qu_file_set_aside(const std::string& path, std::FILE* read_from);
// The same for a folder or file that nothing is opened of.
bool qu_path_set_aside(const std::string& path);

}  // namespace qrd
