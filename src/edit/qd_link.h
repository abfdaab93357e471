// Links between a lines file and the points file that is its header.
#pragma once

#include "util/qu_constants.h"
#include "util/qu_outcome.h"

namespace qrd {

// Links that the files have already end by that. False if another server has deleted one of the files since
// the caller's test or if a descriptor can't be written: all links are as they were then.
[[nodiscard]] bool qd_create_link(const char* directory, const char* lines_file, const char* points_file);
// False after a report when too many files are open, the file has just gone or a descriptor can't be
// written: nothing has changed then. `reset_line_name` makes the Line Name variable of the points side a
// plain one.
[[nodiscard]] bool qd_delete_link(const char* directory, const char* file, bool reset_line_name);
// Tries all of that but the change: for what must succeed before it.
[[nodiscard]] bool qd_link_can_be_deleted(const char* directory, const char* file);
// Ends the link of a file whose partner has been deleted. False after a report.
[[nodiscard]] bool qd_forget_partner(const char* directory, const char* file, const char* deleted);
// The partner of a file. Unclear also if that is no more.
found qd_get_link(const char* directory, const char* file, name_text& partner);

}  // namespace qrd
