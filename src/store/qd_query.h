// What the queries share below their interface.
#pragma once

#include "store/qd_info.h"
#include "store/qd_walk.h"

namespace qrd {

// The result of a look-up as that of a test, after the report when it can't tell.
lookup_result qd_tested(lookup_result result);
// Look-ups for which "None" names nothing.
lookup_result qd_look_for_directory(const char* directory, path_text& path);
lookup_result qd_look_for_file(const char* directory, const char* file, path_text& path,
                               qd_file_record& record);
// A variable of the file in that folder; its name may carry an index, which must exist with `test_index`.
lookup_result qd_look_for_variable(bool test_index, const char* file_path, const char* variable,
                                   path_text& path, qd_variable_record& record);

// 1, or 0 if the file has just gone. A damaged line table is fatal.
int qd_fill_file_info(const char* file_path, const qd_file_record& record, qd_file_info& info);

}  // namespace qrd
