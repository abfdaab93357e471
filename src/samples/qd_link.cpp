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

void read_record(const char* function, const char* directory, const char* file, int no_path, int no_record,
                 path_text& path, qd_file_record& record) {
  if (qd_file_path(directory, file, path) == 0) qu_fatal_number(function, no_path);
  if (qd_file_descriptor_read(path, record) == 0) qu_fatal_number(function, no_record);
}

// Makes the Line Name variable of a points file a plain one. `function` and the numbers from 50 name a
// failure.
void reset_line_name_variable(const char* function, const char* directory, const char* points_file) {
  name_text name;
  int found = qd_special_var_name(directory, points_file, KIND_LINE_NAME, name);
  if (found == 1) return;
  path_text path;
  qd_variable_record record;
  if (found != 0) qu_fatal_number(function, 50);
  if (qd_variable_path(directory, points_file, name, path) == 0) qu_fatal_number(function, 60);
  if (qd_variable_descriptor_read(path, record) == 0) qu_fatal_number(function, 70);
  record.kind = KIND_PLAIN;
  if (qd_variable_descriptor_write(path, record) == 0) qu_fatal_number(function, 80);
}

}  // namespace

// Fatal numbers: 10, 20 the points file can't be read; 30 it is none; 40 it is linked; 50, 60 the lines file
// can't be read; 70 it is none; 80 it is linked; 90, 100 a record can't be written.
void qd_create_link(const char* directory, const char* lines_file, const char* points_file) {
  constexpr char function[] = "qd_create_link";
  path_text points_path, lines_path;
  qd_file_record points, lines;
  read_record(function, directory, points_file, 10, 20, points_path, points);
  if (points.organisation != ORG_POINTS) qu_fatal_number(function, 30);
  if (points.link_name[0] != '\0') qu_fatal_number(function, 40);
  read_record(function, directory, lines_file, 50, 60, lines_path, lines);
  if (!is_lines(lines.organisation)) qu_fatal_number(function, 70);
  if (lines.link_name[0] != '\0') qu_fatal_number(function, 80);

  qu_string_copy(lines_file, points.link_name);
  qu_string_copy(points_file, lines.link_name);
  if (qd_file_descriptor_write(points_path, points) == 0) qu_fatal_number(function, 90);
  if (qd_file_descriptor_write(lines_path, lines) == 0) qu_fatal_number(function, 100);
}

// Fatal numbers: 10, 20 the file can't be read; 30 the partner can't be read; 40 it can't be written; 50 to
// 80 the Line Name variable can't be searched, found, read, written; 90 the file can't be written.
int qd_delete_link(const char* directory, const char* file, bool reset_line_name) {
  constexpr char function[] = "qd_delete_link";
  if (qd_two_files_available("LINK DELETION FAILED") == 0) return 0;
  path_text path, partner_path;
  qd_file_record record;
  read_record(function, directory, file, 10, 20, path, record);
  if (record.link_name[0] == '\0') return 1;

  if (reset_line_name && record.organisation == ORG_POINTS)
    reset_line_name_variable(function, directory, file);
  if (qd_file_path(directory, record.link_name, partner_path) == 0) {
    qu_message("WARNING: The Linked File %s does not exist", record.link_name);
  } else {
    qd_file_record partner;
    if (qd_file_descriptor_read(partner_path, partner) == 0) qu_fatal_number(function, 30);
    if (reset_line_name && partner.organisation == ORG_POINTS)
      reset_line_name_variable(function, directory, record.link_name);
    partner.link_name[0] = '\0';
    if (qd_file_descriptor_write(partner_path, partner) == 0) qu_fatal_number(function, 40);
  }
  record.link_name[0] = '\0';
  if (qd_file_descriptor_write(path, record) == 0) qu_fatal_number(function, 90);
  return 1;
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
