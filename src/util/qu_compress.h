// Putting a data file back that lies compressed on disk.
#pragma once

#include <cstdint>

namespace qrd {

// A data file P may lie on disk as P.gz or P.Z. Where both forms are there the plain one counts, unless it is
// shorter than what the archive holds: the beginning that another program has left. The form that doesn't
// count is set aside.
// Puts the plain file back: 0 failed, 1 done, 5 after a failed write. The archive goes when the plain file is
// whole and on disk; after a failure it is still there. What could be decoded of damaged LZW data becomes the
// plain file, and the archive is set aside.
int qu_file_uncompress(const char* path);
// Before a data file is opened: true if there is no compressed form of it, any more.
bool qu_file_restore(const char* path);
// The length that a data file has when it is restored, and the part of it that must be expanded for that.
// False if its compressed form can't be read.
bool qu_file_measure(const char* path, std::int64_t& length, std::int64_t& to_expand);

}  // namespace qrd
