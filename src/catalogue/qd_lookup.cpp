// Does a name exist, and is it of the wanted sort?
#include "catalogue/qd_lookup.h"

#include <cstring>

#include "disk/qd_handles.h"
#include "disk/qd_macro_table.h"
#include "util/qu_file.h"

namespace qrd {

namespace {

// Is the index of a name among those of the macro variable in that folder?
found find_index(const char* variable_path, const qd_variable_record& record, const char* variable) {
  if (record.type != VAR_MACRO) return found::no;
  object_state state = object_state::sound;
  const macro_descriptor descriptor(qd_macro_descr_read(variable_path, &state));
  if (!descriptor) return state == object_state::gone ? found::no : found::unclear;
  return qd_macro_name_alpha_indice(*descriptor, variable, nullptr) > 0 ? found::yes : found::no;
}

}  // namespace

found qd_tested(found result) {
  if (result == found::unclear) qu_report_too_many_files(access_failed);
  return result;
}

found qd_look_for_directory(const char* directory, path_text& path) {
  if (std::strcmp(directory, no_name) == 0) return found::no;
  return qd_find_directory(directory, path);
}

found qd_look_for_file(const char* directory, const char* file, path_text& path, qd_file_record& record) {
  path_text directory_path;
  const found result = qd_look_for_directory(directory, directory_path);
  return result == found::yes ? qd_find<file_level>(directory_path, file, path, record) : result;
}

found qd_look_for_variable(bool test_index, const char* file_path, const char* variable, path_text& path,
                           qd_variable_record& record) {
  name_text name;
  if (!qd_catalogue_name(variable, name)) return found::no;
  const found result = qd_find<variable_level>(file_path, name, path, record);
  if (result != found::yes || !test_index || !qd_macro_names_column(variable)) return result;
  return find_index(path, record, variable);
}

bool qd_file_fits(const qd_file_record& record, std::int64_t organisation, std::int64_t dimension) {
  const bool organised =
      organisation == ORG_ANY ||
      (organisation == ORG_ANY_LINES ? is_lines(record.organisation) : record.organisation == organisation);
  return organised && (dimension == DIM_ANY || record.dimension == dimension);
}

found qd_directory_test(const char* directory) {
  path_text path;
  return qd_tested(qd_look_for_directory(directory, path));
}

found qd_file_test(std::int64_t organisation, std::int64_t dimension, const char* directory,
                   const char* file) {
  path_text path;
  qd_file_record record;
  found result = qd_look_for_file(directory, file, path, record);
  if (result == found::yes && !qd_file_fits(record, organisation, dimension)) result = found::no;
  return qd_tested(result);
}

found qd_variable_test(bool test_index, const char* directory, const char* file, const char* variable) {
  path_text file_path, path;
  qd_file_record file_record;
  found result = qd_look_for_file(directory, file, file_path, file_record);
  qd_variable_record record;
  if (result == found::yes) result = qd_look_for_variable(test_index, file_path, variable, path, record);
  return qd_tested(result);
}

}  // namespace qrd
