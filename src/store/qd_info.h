// Questions to the catalogue of the open study.
#pragma once

#include <cstdint>

#include "samples/qd_select.h"
#include "store/qd_records.h"
#include "util/qu_list.h"

namespace qrd {

// Tests: 0 exists and fits, 1 doesn't, 2 can't tell (reported on the console).
int qd_directory_test(const char* directory);
int qd_file_test(std::int64_t organisation, std::int64_t dimension, const char* directory, const char* file);
// With `test_index` a macro index in the name must exist as well.
int qd_variable_test(bool test_index, const char* directory, const char* file, const char* variable);

// Does a file pass the filter of qd_file_test?
bool qd_file_fits(const qd_file_record& record, std::int64_t organisation, std::int64_t dimension);

// Lists; `old_list` is freed. Mode -1 plain, 0 with "None" and "New ...", 1 with "None".
qu_list qd_get_directory_list(qu_list old_list, int mode);
qu_list qd_get_file_list(qu_list old_list, const char* directory, int mode, std::int64_t organisation,
                         std::int64_t dimension);
enum variable_mask : int {
  MASK_FLOAT = 1,
  MASK_CHAR = 2,
  MASK_MACRO = 4,
  MASK_MACRO_TOO = 8,
  MASK_SYSTEM = 16,    // not a filter: without it system variables are dropped
  MASK_SELECTION = 32  // decides alone: bit length 1 and not VAR_CHAR
};
qu_list qd_get_variable_list(qu_list old_list, const char* directory, const char* file, int mode, int mask);

// The same names in mode -1, added to a list, without those that nobody can read. 1; 0 if the catalogue, the
// directory or the file can't be found, which is fatal above: what a client asks for may have been deleted by
// another one; or `list_unreadable` if something can't be read now.
inline constexpr int list_unreadable = -1;
int qd_list_directories(string_list& list);
int qd_list_files(const char* directory, std::int64_t organisation, std::int64_t dimension,
                  string_list& list);
int qd_list_variables(const char* directory, const char* file, int mask, string_list& list);

// 1, or 0 if the object can't be found or read, or too many files are open.
int qd_info_var_ident(const qd_variable_handle& handle, qd_var_info& info);
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
// 1, or 0 as above. A damaged line table is fatal. `grid` may be null; it is the default grid for any other
// file.
int qd_info_file(const char* directory, const char* file, qd_file_info& info, qd_grid_record* grid);
// 0 done, 1 not all found. Outputs may be null. `flag` 1 starts from the distance format.
int qd_coordinates_formats(int flag, const char* directory, const char* file, qd_format_record* x,
                           qd_format_record* y, qd_format_record* z);

// Wrong parameters become a report on the console: 1 all is well, 0 not.
int qd_check_directory(const char* directory, const char* text);
int qd_check_file(std::int64_t organisation, std::int64_t dimension, const char* directory, const char* file,
                  const char* selection, const char* text, qd_file_info* info);
enum variable_class : int {
  CLASS_SELECTION = 1,
  CLASS_FLOAT = 2,
  CLASS_CHAR = 3,
  CLASS_MACRO = 4,
  CLASS_NUMERICAL = 5
};
int qd_check_variable(variable_class wanted, const char* directory, const char* file, const char* selection,
                      const char* variable, const char* text, qd_file_info* info,
                      qd_variable_place* place = nullptr);
int qd_check_names(int level, int wanted_class, const char* directory, const char* file, const char* variable,
                   const char* const* names);
// 0 fits; 1 can't tell; 4 no directory; 5 no points file; 6 no such variable (the name becomes "None").
int qd_points_test(const char* directory, const char* file, char* variable);

}  // namespace qrd
