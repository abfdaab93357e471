// What the catalogue knows of a file or a variable.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"

namespace qrd {

// 1, or 0 if the object can't be found or read, or too many files are open.
int qd_info_var_name(const char* directory, const char* file, const char* variable, qd_var_info& info);
// One walk for all that a request asks of a variable: 0 all is told, 1 and 2 as qd_variable_test gives them,
// or nothing_told of a variable that may be there. `file_info` and `place` may be null.
inline constexpr int nothing_told = 3;
int qd_variable_query(bool test_index, const char* directory, const char* file, const char* variable,
                      qd_var_info& info, qd_file_info* file_info = nullptr,
                      qd_variable_place* place = nullptr);
// 0 found, 1 none, 2 unreadable.
int qd_special_var_name(const char* directory, const char* file, int kind, name_text& name);
// All of them at once; those that the file doesn't have are empty. The result tells what such a name means:
// 1 none, 2 unreadable; nothing_told if it can't be read now.
int qd_special_var_names(const char* directory, const char* file, name_text (&names)[kind_count]);
// 1, or 0 as above, and if the ends of a line table don't fit the file. `grid` may be null; it is the default
// grid for any other file.
int qd_info_file(const char* directory, const char* file, qd_file_info& info, qd_grid_record* grid);
// 0 done, 1 not all found. Outputs may be null. `flag` 1 starts from the distance format.
int qd_coordinates_formats(int flag, const char* directory, const char* file, qd_format_record* x,
                           qd_format_record* y, qd_format_record* z);

// 1, or 0 if the file has just gone or changed, and after a report if its line table is damaged.
int qd_fill_file_info(const char* file_path, const qd_file_record& record, qd_file_info& info);
// All of an answer but `system`, which the queries tell in their own ways.
void qd_fill_var_info(const qd_file_record& file, const qd_variable_record& variable, qd_var_info& info);

}  // namespace qrd
