// Lists of the names in the catalogue.
#pragma once

#include <cstdint>

#include "util/qu_list.h"

namespace qrd {

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

}  // namespace qrd
