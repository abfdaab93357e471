// Lines files, growth of files by samples, links between a lines file and its header.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "store/qd_records.h"

namespace qrd {

inline constexpr char line_file_name[] = "LINE";

// The table of first samples, read and checked: line_count + 1 entries ascending from 1 to the sample
// count plus 1. False if another server has changed or deleted the file since the record was read, and after
// a report if the table can't be read or doesn't hold.
bool qd_line_table_read(const char* file_path, const qd_file_record& record,
                        std::vector<std::int64_t>& offsets);
// A table with the single entry 1. 1 or 0.
int qd_line_table_create(const char* file_path);
// True if the table is there and as long as the record tells.
bool qd_line_table_holds(const char* file_path, const qd_file_record& record);
// Adds the entry of one more line to the table of a file of that record: the number of the first sample
// behind it. 1, or 0 when the table can't be written or is shorter than the record tells.
int qd_line_table_append(const char* file_path, const qd_file_record& record, std::int64_t end);
// The length of the table of a file, or -1; and back to such a length, after a growth that failed.
std::int64_t qd_line_table_bytes(const char* file_path);
void qd_line_table_cut(const char* file_path, std::int64_t bytes);

// Samples of each line: 1, 0 when too many files are open, or -1 when the file has just gone or changed, or
// can't be read.
int qd_samples_per_line(const char* directory, const char* file, std::vector<std::int64_t>& counts);

// Gives the samples first to last of a growing file their values; false after a failure.
using sample_filler = std::function<bool(std::int64_t first, std::int64_t last)>;

// Adds samples (above 0) to every variable of a file: 1, or 0 after reports, and the file is as it was then.
// `fill` gives the new samples their values before any other server sees them; where it gives false nothing
// has been added. With an `organisation` a lines file becomes one of that, in the moment in which the
// samples appear.
int qd_append_sample(const char* directory, const char* file, std::int64_t samples,
                     const sample_filler& fill = nullptr,
                     std::optional<std::int64_t> organisation = std::nullopt);
// Removes the derived files of a file's folder.
void qd_delete_derived_files(const char* file_path);

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
// 0 done, 1 refused with a message, 2 problem.
int qd_var_as_line_name(const char* directory, const char* file, const char* variable);

}  // namespace qrd
