// Lists of the names in the catalogue.
#pragma once

#include <cstdint>

#include "util/qu_list.h"
#include "util/qu_outcome.h"

namespace qrd {

enum variable_mask : int {
  MASK_FLOAT = 1,
  MASK_CHAR = 2,
  MASK_MACRO = 4,
  MASK_MACRO_TOO = 8,
  MASK_SYSTEM = 16,    // not a filter: without it system variables are dropped
  MASK_SELECTION = 32  // decides alone: bit length 1 and not VAR_CHAR
};

// The names, in the order in which clients show them, added to a list, without those that nobody will ever
// read. No, or unreadable, of the catalogue, the directory or the file whose names are wanted, and unreadable
// if one of the objects can't be read now.
found qd_list_directories(string_list& list);
found qd_list_files(const char* directory, std::int64_t organisation, std::int64_t dimension,
                    string_list& list);
found qd_list_variables(const char* directory, const char* file, int mask, string_list& list);

}  // namespace qrd
