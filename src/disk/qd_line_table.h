// The line table "LINE" of a lines file: which samples each line has.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "disk/qd_records.h"

namespace qrd {

inline constexpr char line_file_name[] = "LINE";

// The table of first samples, read and checked: line_count + 1 entries ascending from 1 to the sample
// count plus 1. False if another server has changed or deleted the file since the record was read, and after
// a report if the table can't be read or doesn't hold.
[[nodiscard]] bool qd_line_table_read(const char* file_path, const qd_file_record& record,
                                      std::vector<std::int64_t>& offsets);
// The same of its length, its first and its last entry alone, which takes no longer for a long table.
bool qd_line_table_ends_hold(const char* file_path, const qd_file_record& record);

// A part of the table: its entry i is the entry begin + i of the whole.
struct line_table_part {
  std::int64_t begin = 0;
  std::vector<std::int64_t> offsets;
};
// The entries that bound the lines of the samples first to last, found without a look at the others. False as
// above; of the rest of the table only the ends are checked. REQUIRES: samples of the record's file.
[[nodiscard]] bool qd_line_table_read_around(const char* file_path, const qd_file_record& record,
                                             std::int64_t first, std::int64_t last, line_table_part& part);
// The samples of one line, which may have none: then last is first - 1. False as above. REQUIRES: a line of
// the record's file, from 1.
[[nodiscard]] bool qd_line_table_read_line(const char* file_path, const qd_file_record& record,
                                           std::int64_t line, std::int64_t& first, std::int64_t& last);

// Makes a table with the single entry 1. False if it can't be written.
[[nodiscard]] bool qd_line_table_create(const char* file_path);
// True if the table is there and as long as the record tells.
bool qd_line_table_holds(const char* file_path, const qd_file_record& record);
// Adds the entry of one more line to the table of a file of that record: the number of the first sample
// behind it. False when the table can't be written or is shorter than the record tells.
[[nodiscard]] bool qd_line_table_append(const char* file_path, const qd_file_record& record,
                                        std::int64_t end);
// The length of the table of a file, if there is one; and back to such a length, after a growth that failed.
std::optional<std::int64_t> qd_line_table_bytes(const char* file_path);
void qd_line_table_cut(const char* file_path, std::int64_t bytes);

}  // namespace qrd
