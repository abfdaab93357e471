// Links between a lines file and the points file that is its header.
#pragma once

#include "util/qu_constants.h"

namespace qrd {

// Links that the files have already end by that. 1, or 0 if another server has deleted one of the files since
// the caller's test or if a descriptor can't be written: all links are as they were then.
int qd_create_link(const char* directory, const char* lines_file, const char* points_file);
// 1, or 0 after a report when too many files are open, the file has just gone or a descriptor can't be
// written: nothing has changed then. `reset_line_name` makes the Line Name variable of the points side a
// plain one.
int qd_delete_link(const char* directory, const char* file, bool reset_line_name);
// Tries all of that but the change: for what must succeed before it.
bool qd_link_can_be_deleted(const char* directory, const char* file);
// Ends the link of a file whose partner has been deleted: 1, or 0 after a report.
int qd_forget_partner(const char* directory, const char* file, const char* deleted);
// 0 linked, 1 no link, 2 problem.
int qd_get_link(const char* directory, const char* file, name_text& partner);

}  // namespace qrd
