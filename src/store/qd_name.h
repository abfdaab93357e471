// What the creators say about a name that the check refuses.
#pragma once

namespace qrd {

enum class named_object { directory_or_file, variable };

// The line of the report for a code of the name check other than NAME_VALID.
const char* qd_name_fault(int code, named_object object);

// The name check with the rules that a variable's type adds.
int qd_variable_name_check(const char* name, int type);

}  // namespace qrd
