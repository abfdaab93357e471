// The link between a lines file and its header: each file record holds the name of the other. The header
// is a points file with one sample per line; one of its text variables may name the lines.
#include <cstring>

#include "samples/qd_lines.h"
#include "samples/qd_select.h"
#include "store/qd_info.h"
#include "store/qd_walk.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// False if another server has deleted the file since the caller found it; a file that can't be read is fatal.
bool read_record(const char* function, const char* directory, const char* file, int unreadable,
                 path_text& path, qd_file_record& record) {
  const lookup_result found = qd_find_file(directory, file, path, record);
  if (found == LOOKUP_UNREADABLE) qu_fatal_number(function, unreadable);
  return found == LOOKUP_FOUND;
}

// The same for the writing of a record.
bool write_record(const char* function, const char* path, const qd_file_record& record, int unwritable) {
  if (qd_file_descriptor_write(path, record) != 0) return true;
  if (!qd_object_gone()) qu_fatal_number(function, unwritable);
  return false;
}

// Makes the Line Name variable of a points file a plain one. `function` and the numbers from 50 name a
// failure.
void reset_line_name_variable(const char* function, const char* points_path) {
  path_text path;
  qd_variable_record record;
  const walk_end end = qd_walk<variable_level>(points_path, path, record, [](const qd_variable_record& seen) {
    return seen.type != VAR_MACRO && seen.kind == KIND_LINE_NAME;
  });
  const lookup_result found = qd_lookup_result(end);
  if (found == LOOKUP_UNREADABLE) qu_fatal_number(function, 50);
  if (found == LOOKUP_ABSENT) return;
  record.kind = KIND_PLAIN;
  if (qd_variable_descriptor_write(path, record) == 0 && !qd_object_gone()) qu_fatal_number(function, 80);
}

int report_no_more(const char* file) {
  qu_message("WARNING: LINK DELETION FAILED, THE FILE %s IS NO MORE\n", file);
  return 0;
}

}  // namespace

// Fatal numbers: 10 the points file can't be read; 30 it is none; 50 the lines file can't be read; 70 it is
// none; 90, 100 a record can't be written.
int qd_create_link(const char* directory, const char* lines_file, const char* points_file) {
  constexpr char function[] = "qd_create_link";
  path_text points_path, lines_path;
  qd_file_record points, lines;
  if (!read_record(function, directory, points_file, 10, points_path, points)) return 0;
  if (points.organisation != ORG_POINTS) qu_fatal_number(function, 30);
  if (!read_record(function, directory, lines_file, 50, lines_path, lines)) return 0;
  if (!is_lines(lines.organisation)) qu_fatal_number(function, 70);
  if (points.link_name[0] != '\0' || lines.link_name[0] != '\0') return 0;

  qu_string_copy(lines_file, points.link_name);
  qu_string_copy(points_file, lines.link_name);
  return write_record(function, points_path, points, 90) && write_record(function, lines_path, lines, 100);
}

// Fatal numbers: 10 the file can't be read; 40 the partner can't be written; 50, 80 the Line Name variable
// can't be searched, written; 90 the file can't be written.
int qd_delete_link(const char* directory, const char* file, bool reset_line_name) {
  constexpr char function[] = "qd_delete_link";
  if (qd_two_files_available("LINK DELETION FAILED") == 0) return 0;
  path_text path, partner_path;
  qd_file_record record;
  if (!read_record(function, directory, file, 10, path, record)) return report_no_more(file);
  if (record.link_name[0] == '\0') return 1;

  if (reset_line_name && record.organisation == ORG_POINTS) reset_line_name_variable(function, path);
  qd_file_record partner;
  if (qd_find_file(directory, record.link_name, partner_path, partner) != LOOKUP_FOUND) {
    qu_message("WARNING: The Linked File %s does not exist", record.link_name);
  } else {
    if (reset_line_name && partner.organisation == ORG_POINTS)
      reset_line_name_variable(function, partner_path);
    partner.link_name[0] = '\0';
    write_record(function, partner_path, partner, 40);
  }
  record.link_name[0] = '\0';
  return write_record(function, path, record, 90) ? 1 : report_no_more(file);
}

int qd_get_link(const char* directory, const char* file, name_text& partner) {
  if (qd_two_files_available() == 0) return 2;
  path_text path;
  qd_file_record record;
  if (qd_find_file(directory, file, path, record) != LOOKUP_FOUND) return 2;
  if (record.link_name[0] == '\0') return 1;
  if (qd_file_path(directory, record.link_name, path) == 0) {
    qu_message("WARNING: Linked File %s does not exist", record.link_name);
    return 2;
  }
  qu_string_copy(record.link_name, partner);
  return 0;
}

}  // namespace qrd
