// The lines of a lines file.
#pragma once

#include <cstdint>
#include <vector>

namespace qrd {

// Samples of each line: 1, 0 when too many files are open, or -1 when the file has just gone or changed, or
// can't be read.
int qd_samples_per_line(const char* directory, const char* file, std::vector<std::int64_t>& counts);

}  // namespace qrd
