// Copying and appending whole files, copying trees.
#pragma once

namespace qrd {

// The target is put in place whole. 1, or 0 after a report, and errno tells why: a source that can't be read
// ends nothing.
int qu_file_copy(const char* source, const char* target);
int qu_file_concat(const char* source, const char* target);
// The target appears whole, in place of what stood there. Symbolic links, and with a report what may not be
// copied, are passed over. 0 if done; else errno tells why, and the target is as it was.
int qu_dir_copy(const char* source, const char* target);

}  // namespace qrd
