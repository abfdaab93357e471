// What stands in the folder of a new variable.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"

namespace qrd {

// The record of a variable to be made in a file of that organisation. A kind decides the type; without a
// format, kind, type and bit length decide the format.
qd_variable_record qd_new_variable_record(std::int64_t organisation, const char* name, std::int32_t type,
                                          std::int32_t kind, std::int64_t bit_length,
                                          const qd_format_record* format);

// True if the values are computed in a file of that organisation, so that nothing is stored.
bool qd_is_computed(std::int64_t organisation, std::int32_t kind);

// Writes "MACRO" if the variable is one, DESCR, COMMENT and "DATAVAR" filled with missing values for
// `filled_samples`, into an empty folder. False if anything can't be written. REQUIRES: a multiple of
// 512, and when it isn't 0 a bit length that can be filled. May end the process.
bool qd_write_variable_files(const char* path, const qd_variable_record& record, std::int64_t filled_samples);

}  // namespace qrd
