// Lists of the names in the catalogue.
#pragma once

#include <cstdint>

#include "util/qu_list.h"

namespace qrd {

enum variable_mask : int {
  MASK_FLOAT = 1,
  MASK_CHAR = 2,
  MASK_MACRO = 4,
  MASK_MACRO_TOO = 8,
  MASK_SYSTEM = 16,    // not a filter: without it system variables are dropped
  MASK_SELECTION = 32  // decides alone: bit length 1 and not VAR_CHAR
};

// The names, in the order in which clients show them, added to a list, without those that nobody can read. 1;
// 0 if the catalogue, the directory or the file can't be found; or `list_unreadable` if something can't be
// read now.
inline constexpr int list_unreadable = -1;
int qd_list_directories(string_list& list);
int qd_list_files(const char* directory, std::int64_t organisation, std::int64_t dimension,
                  string_list& list);
int qd_list_variables(const char* directory, const char* file, int mask, string_list& list);

}  // namespace qrd
