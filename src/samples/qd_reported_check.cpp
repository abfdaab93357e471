// Wrong parameters become reports for the person at the console.
#include "samples/qd_reported_check.h"

#include <cstring>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lookup.h"
#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "samples/qd_selection_rows.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

bool is_named(const char* name) {
  return name != nullptr && std::strcmp(name, no_name) != 0;
}

// One look-up of each level serves all the checks.
bool find_directory(const char* directory, path_text& path) {
  return qd_tested(qd_look_for_directory(directory, path)) == found::yes;
}

bool find_file(const char* directory_path, const char* file, path_text& path, qd_file_record& record) {
  return is_named(file) && qd_tested(qd_find<file_level>(directory_path, file, path, record)) == found::yes;
}

bool find_variable(const char* file_path, const char* variable, path_text& path, qd_variable_record& record) {
  return is_named(variable) &&
         qd_tested(qd_look_for_variable(true, file_path, variable, path, record)) == found::yes;
}

bool is_of_class(int wanted, const char* variable, const qd_variable_record& record) {
  switch (wanted) {
    case CLASS_SELECTION:
      return record.bit_length == 1;
    case CLASS_FLOAT:
      return record.type != VAR_CHAR && (record.type != VAR_MACRO || qd_macro_names_column(variable));
    case CLASS_CHAR:
      return record.type == VAR_CHAR;
    case CLASS_MACRO:
      return record.type == VAR_MACRO && qd_macro_name_kind(variable) == index_form::generic;
    case CLASS_NUMERICAL:
      return record.type != VAR_CHAR;
    default:
      return true;
  }
}

bool refuse_directory(const char* text, const char* directory) {
  qu_message("WARNING: Check your parameters a Directory Name is incorrect");
  if (text != nullptr) {
    qu_message("------- %s", text);
  } else {
    qu_message("-------");
  }
  qu_message("    BAD DIRECTORY NAME: >>>%s<<<", directory);
  return false;
}

void report_text(const char* text) {
  if (text != nullptr) qu_message("         %s", text);
}

bool refuse_file(const char* text, const char* directory, const char* file) {
  report_text(text);
  qu_message("    DIRECTORY NAME: >>>%s<<<", directory);
  qu_message("     BAD FILE NAME: >>>%s<<<", file);
  return false;
}

bool refuse_variable(const char* text, const char* directory, const char* file, const char* name_line,
                     const char* variable) {
  report_text(text);
  qu_message("       DIRECTORY NAME: >>>%s<<<", directory);
  qu_message("            FILE NAME: >>>%s<<<", file);
  qu_message("%s: >>>%s<<<", name_line, variable);
  return false;
}

constexpr char bad_variable[] = "    BAD VARIABLE NAME";

const char* organisation_line(std::int64_t wanted) {
  switch (wanted) {
    case ORG_POINTS:
      return "-------  a POINT File...";
    case ORG_ANY_LINES:
      return "-------  a LINE File...";
    case ORG_LINES_CORES:
      return "-------  a Cores LINE File...";
    case ORG_LINES_GRAVITY:
      return "-------  a Gravity LINE File...";
    default:
      return "-------  a GRID File...";
  }
}

// What a file should be and isn't: first the organisation, then the dimension.
const char* file_line(const qd_file_record& record, std::int64_t organisation, std::int64_t dimension) {
  if (!qd_file_fits(record, organisation, DIM_ANY)) return organisation_line(organisation);
  return dimension == 2 ? "-------  a 2D File..." : "-------  a 3D File...";
}

const char* class_line(variable_class wanted) {
  switch (wanted) {
    case CLASS_SELECTION:
      return "-------  is not a Selection Variable (1 bit)...";
    case CLASS_FLOAT:
      return "-------  is not a Float Variable...";
    case CLASS_CHAR:
      return "-------  is not a Character Variable...";
    case CLASS_MACRO:
      return "-------  is not a Macro Variable...";
    case CLASS_NUMERICAL:
      break;
  }
  return "-------  is not a Numerical (Float or Macro) Variable...";
}

bool check_file(std::int64_t organisation, std::int64_t dimension, const char* directory, const char* file,
                const char* selection, const char* text, path_text& path, qd_file_info* info) {
  if (!qd_two_files_available(access_failed, "\n\n")) return false;
  path_text directory_path;
  if (!find_directory(directory, directory_path)) return refuse_directory(text, directory);
  qd_file_record record;
  if (!find_file(directory_path, file, path, record)) {
    qu_message("WARNING: Check your parameters a File Name is incorrect");
    return refuse_file(text, directory, file);
  }
  if (!qd_file_fits(record, organisation, dimension)) {
    qu_message("WARNING: Check your parameters this File should be");
    qu_message("%s", file_line(record, organisation, dimension));
    return refuse_file(text, directory, file);
  }
  std::int64_t selected = -1;
  if (is_named(selection)) {
    path_text variable_path;
    qd_variable_record variable;
    if (!find_variable(path, selection, variable_path, variable) ||
        !is_of_class(CLASS_SELECTION, selection, variable)) {
      qu_message("WARNING: Check your parameters this Variable");
      qu_message("-------  is not a Selection variable...");
      return refuse_variable(text, directory, file, "   BAD SELECTION NAME", selection);
    }
    if (info != nullptr) selected = qd_free_samples_count(directory, file, selection).value_or(-1);
  }
  if (info == nullptr) return true;
  if (!qd_fill_file_info(path, record, *info)) return false;
  if (selected >= 0) info->sample_count = selected;
  return true;
}

}  // namespace

bool qd_check_file(std::int64_t organisation, std::int64_t dimension, const char* directory, const char* file,
                   const char* selection, const char* text, qd_file_info* info) {
  path_text path;
  return check_file(organisation, dimension, directory, file, selection, text, path, info);
}

bool qd_check_variable(variable_class wanted, const char* directory, const char* file, const char* selection,
                       const char* variable, const char* text, qd_file_info* info, qd_variable_place* place) {
  qd_variable_place found;
  if (!check_file(ORG_ANY, DIM_ANY, directory, file, selection, text, found.file_path, info)) return false;
  qd_variable_record record;
  if (!find_variable(found.file_path, variable, found.path, record)) {
    qu_message("WARNING: Check your parameters a Variable Name is incorrect");
    return refuse_variable(text, directory, file, bad_variable, variable);
  }
  if (place != nullptr) *place = found;
  if (is_of_class(wanted, variable, record)) return true;
  qu_message("WARNING: Check your parameters this Variable");
  qu_message("%s", class_line(wanted));
  return refuse_variable(text, directory, file, bad_variable, variable);
}

}  // namespace qrd
