// The lines of a lines file.
#pragma once

#include <cstdint>
#include <vector>

#include "util/qu_outcome.h"

namespace qrd {

// Samples of each line. Unclear when too many files are open; no when the file has just gone or changed, or
// can't be read.
found qd_samples_per_line(const char* directory, const char* file, std::vector<std::int64_t>& counts);

}  // namespace qrd
