// Does a name exist, and is it of the wanted sort?
#pragma once

#include <cstdint>

#include "catalogue/qd_walk.h"
#include "disk/qd_records.h"

namespace qrd {

// Tests: 0 exists and fits, 1 doesn't, 2 can't tell (reported on the console).
int qd_directory_test(const char* directory);
int qd_file_test(std::int64_t organisation, std::int64_t dimension, const char* directory, const char* file);
// With `test_index` a macro index in the name must exist as well.
int qd_variable_test(bool test_index, const char* directory, const char* file, const char* variable);

// Does a file pass the filter of qd_file_test?
bool qd_file_fits(const qd_file_record& record, std::int64_t organisation, std::int64_t dimension);

// 0 fits; 1 can't tell; 4 no directory; 5 no points file; 6 no such variable (the name becomes "None").
int qd_points_test(const char* directory, const char* file, char* variable);

// The result of a look-up as that of a test, after the report when it can't tell.
lookup_result qd_tested(lookup_result result);
// Look-ups for which "None" names nothing.
lookup_result qd_look_for_directory(const char* directory, path_text& path);
lookup_result qd_look_for_file(const char* directory, const char* file, path_text& path,
                               qd_file_record& record);
// A variable of the file in that folder; its name may carry an index, which must exist with `test_index`.
lookup_result qd_look_for_variable(bool test_index, const char* file_path, const char* variable,
                                   path_text& path, qd_variable_record& record);

}  // namespace qrd
