// Names of objects: which are possible, and what the creators say about one that is not.
#pragma once

namespace qrd {

enum class [[nodiscard]] name_code{
    valid, blank, reserved, not_printable, forbidden, too_long, bad_macro,
};
name_code qd_name_check(const char* name);

enum class named_object { directory_or_file, variable };

// The line of the report for a code other than valid.
const char* qd_name_fault(name_code code, named_object object);

// The name check with the rules that a variable's type adds.
name_code qd_variable_name_check(const char* name, int type);

}  // namespace qrd
