// Does a name exist, and is it of the wanted sort?
#include "catalogue/qd_lookup.h"

#include <cstring>

#include "catalogue/qd_path.h"
#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "util/qu_file.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

// Is the index of a name among those of the macro variable in that folder?
lookup_result find_index(const char* variable_path, const qd_variable_record& record, const char* variable) {
  if (record.type != VAR_MACRO) return LOOKUP_ABSENT;
  object_state state = object_state::sound;
  const macro_descriptor descriptor(qd_macro_descr_read(variable_path, &state));
  if (!descriptor) return state == object_state::gone ? LOOKUP_ABSENT : LOOKUP_UNREADABLE;
  return qd_macro_name_alpha_indice(*descriptor, variable, nullptr) > 0 ? LOOKUP_FOUND : LOOKUP_ABSENT;
}

}  // namespace

lookup_result qd_tested(lookup_result result) {
  if (result == LOOKUP_UNREADABLE) qu_report_too_many_files(access_failed);
  return result;
}

lookup_result qd_look_for_directory(const char* directory, path_text& path) {
  if (std::strcmp(directory, no_name) == 0) return LOOKUP_ABSENT;
  return qd_find_directory(directory, path);
}

lookup_result qd_look_for_file(const char* directory, const char* file, path_text& path,
                               qd_file_record& record) {
  path_text directory_path;
  const lookup_result result = qd_look_for_directory(directory, directory_path);
  return result == LOOKUP_FOUND ? qd_find<file_level>(directory_path, file, path, record) : result;
}

lookup_result qd_look_for_variable(bool test_index, const char* file_path, const char* variable,
                                   path_text& path, qd_variable_record& record) {
  name_text name;
  if (!qd_catalogue_name(variable, name)) return LOOKUP_ABSENT;
  const lookup_result result = qd_find<variable_level>(file_path, name, path, record);
  if (result != LOOKUP_FOUND || !test_index || !qd_macro_names_column(variable)) return result;
  return find_index(path, record, variable);
}

bool qd_file_fits(const qd_file_record& record, std::int64_t organisation, std::int64_t dimension) {
  const bool organised =
      organisation == ORG_ANY ||
      (organisation == ORG_ANY_LINES ? is_lines(record.organisation) : record.organisation == organisation);
  return organised && (dimension == DIM_ANY || record.dimension == dimension);
}

int qd_directory_test(const char* directory) {
  path_text path;
  return qd_tested(qd_look_for_directory(directory, path));
}

int qd_file_test(std::int64_t organisation, std::int64_t dimension, const char* directory, const char* file) {
  path_text path;
  qd_file_record record;
  lookup_result result = qd_look_for_file(directory, file, path, record);
  if (result == LOOKUP_FOUND && !qd_file_fits(record, organisation, dimension)) result = LOOKUP_ABSENT;
  return qd_tested(result);
}

int qd_variable_test(bool test_index, const char* directory, const char* file, const char* variable) {
  path_text file_path, path;
  qd_file_record file_record;
  lookup_result result = qd_look_for_file(directory, file, file_path, file_record);
  qd_variable_record record;
  if (result == LOOKUP_FOUND) result = qd_look_for_variable(test_index, file_path, variable, path, record);
  return qd_tested(result);
}

int qd_points_test(const char* directory, const char* file, char* variable) {
  constexpr int cannot_tell = 1, no_directory = 4, no_points_file = 5, no_variable = 6;
  path_text directory_path;
  lookup_result result = qd_tested(qd_look_for_directory(directory, directory_path));
  if (result != LOOKUP_FOUND) return result == LOOKUP_ABSENT ? no_directory : cannot_tell;
  path_text path, variable_path;
  qd_file_record file_record;
  result = qd_tested(qd_find<file_level>(directory_path, file, path, file_record));
  if (result == LOOKUP_UNREADABLE) return cannot_tell;
  if (result == LOOKUP_ABSENT || file_record.organisation != ORG_POINTS) return no_points_file;
  if (variable == nullptr || std::strcmp(variable, no_name) == 0) return 0;
  qd_variable_record record;
  result = qd_tested(qd_look_for_variable(true, path, variable, variable_path, record));
  if (result != LOOKUP_ABSENT) return result == LOOKUP_FOUND ? 0 : cannot_tell;
  std::strcpy(variable, no_name);
  return no_variable;
}

}  // namespace qrd
