// Names of objects: which are possible, and what the creators say about one that is not.
#pragma once

namespace qrd {

// Codes of the name check.
enum name_code : int {
  NAME_VALID = 0,
  NAME_BLANK = 1,
  NAME_RESERVED = 2,
  NAME_NOT_PRINTABLE = 3,
  NAME_FORBIDDEN = 4,
  NAME_TOO_LONG = 5,
  NAME_BAD_MACRO = 6
};
int qd_name_check(const char* name);

enum class named_object { directory_or_file, variable };

// The line of the report for a code of the name check other than NAME_VALID.
const char* qd_name_fault(int code, named_object object);

// The name check with the rules that a variable's type adds.
int qd_variable_name_check(const char* name, int type);

}  // namespace qrd
