// Does a name exist, and is it of the wanted sort?
#pragma once

#include <cstdint>

#include "catalogue/qd_walk.h"
#include "disk/qd_records.h"

namespace qrd {

// Yes if it exists and fits; unclear after a report.
found qd_directory_test(const char* directory);
found qd_file_test(std::int64_t organisation, std::int64_t dimension, const char* directory,
                   const char* file);
// With `test_index` a macro index in the name must exist as well.
found qd_variable_test(bool test_index, const char* directory, const char* file, const char* variable);

// Does a file pass the filter of qd_file_test?
bool qd_file_fits(const qd_file_record& record, std::int64_t organisation, std::int64_t dimension);

// The result of a look-up as that of a test, after the report when it can't tell.
found qd_tested(found result);
// Look-ups for which "None" names nothing.
found qd_look_for_directory(const char* directory, path_text& path);
found qd_look_for_file(const char* directory, const char* file, path_text& path, qd_file_record& record);
// A variable of the file in that folder; its name may carry an index, which must exist with `test_index`.
found qd_look_for_variable(bool test_index, const char* file_path, const char* variable, path_text& path,
                           qd_variable_record& record);

}  // namespace qrd
