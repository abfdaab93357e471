// What the queries share below their interface.
#pragma once

#include "store/qd_info.h"
#include "store/qd_walk.h"

namespace qrd {

// The report that the file system can't be asked. `before` stands in front of its first line.
void qd_report_no_access(const char* before = "");
// 1 if two more files can be opened; 0 after the report.
int qd_can_access(const char* before = "");

// The result of a look-up as that of a test, after the report when it can't tell.
lookup_result qd_tested(lookup_result result);
// Look-ups for which "None" names nothing.
lookup_result qd_look_for_directory(const char* directory, path_text& path);
lookup_result qd_look_for_file(const char* directory, const char* file, path_text& path,
                               qd_file_record& record);
// A variable of the file in that folder; its name may carry an index, which must exist with `test_index`.
lookup_result qd_look_for_variable(bool test_index, const char* file_path, const char* variable,
                                   qd_variable_record& record);

// A damaged line table is fatal.
void qd_fill_file_info(const char* file_path, const qd_file_record& record, qd_file_info& info);

}  // namespace qrd
