// What the catalogue knows of a file or a variable.
#pragma once

#include <cstdint>

#include "disk/qd_records.h"
#include "util/qu_outcome.h"

namespace qrd {

// False if the object can't be found or read, or too many files are open.
[[nodiscard]] bool qd_info_var_name(const char* directory, const char* file, const char* variable,
                                    qd_var_info& info);
// One walk for all that a request asks of a variable: as qd_variable_test, or unreadable if what is asked of
// it can't be told now. `file_info` and `place` may be null.
found qd_variable_query(bool test_index, const char* directory, const char* file, const char* variable,
                        qd_var_info& info, qd_file_info* file_info = nullptr,
                        qd_variable_place* place = nullptr);
// The name of the first variable of a kind.
found qd_special_var_name(const char* directory, const char* file, int kind, name_text& name);
// The variables with a role in a file, read in one walk: the first float or text variable of each kind.
struct role_records {
  qd_variable_record records[kind_count];
  bool is_there[kind_count] = {};
  // What it means that a kind is not there.
  found otherwise = found::no;

  void walk(const char* file_path);
};
// All of their names at once; those that the file doesn't have are empty. The result tells what an empty one
// means.
found qd_special_var_names(const char* directory, const char* file, name_text (&names)[kind_count]);
// False as above, and if the ends of a line table don't fit the file. `grid` may be null; it is the default
// grid for any other file.
[[nodiscard]] bool qd_info_file(const char* directory, const char* file, qd_file_info& info,
                                qd_grid_record* grid);
// The same, with the file that was found.
[[nodiscard]] bool qd_info_file(const char* directory, const char* file, qd_file_info& info, path_text& path,
                                qd_file_record& record);
// Those that aren't found keep the default, or with `flag` 1 the distance format; false if there is one.
// Outputs may be null.
bool qd_coordinates_formats(int flag, const char* directory, const char* file, qd_format_record* x,
                            qd_format_record* y, qd_format_record* z);
// The same for a file of that dimension whose variables have been read; what isn't found stays as it is.
bool qd_coordinates_formats(const role_records& roles, std::int64_t dimension, qd_format_record* x,
                            qd_format_record* y, qd_format_record* z);

// What the record tells of the file, without a look at its line table.
void qd_describe_file(const qd_file_record& record, qd_file_info& info);
// False if the file has just gone or changed, and after a report if its line table is damaged.
[[nodiscard]] bool qd_fill_file_info(const char* file_path, const qd_file_record& record, qd_file_info& info);
// What the descriptors tell of a variable.
void qd_fill_var_info(const qd_file_record& file, const qd_variable_record& variable, qd_var_info& info);

}  // namespace qrd
