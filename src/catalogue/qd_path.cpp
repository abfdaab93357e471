// From the names of the catalogue to paths on disk.
#include "catalogue/qd_path.h"

#include <strings.h>

#include <cstring>

#include "catalogue/qd_walk.h"
#include "disk/qd_macro_table.h"

namespace qrd {

bool qd_directory_path(const char* directory, path_text& path) {
  return qd_find_directory(directory, path) == found::yes;
}

bool qd_file_path_in(const char* directory_path, const char* file, path_text& path) {
  qd_file_record record;
  return qd_find<file_level>(directory_path, file, path, record) == found::yes;
}

bool qd_file_path(const char* directory, const char* file, path_text& path) {
  path_text directory_path;
  return qd_directory_path(directory, directory_path) && qd_file_path_in(directory_path, file, path);
}

bool qd_variable_path_in(const char* file_path, const char* variable, path_text& path) {
  qd_variable_record record;
  return qd_find<variable_level>(file_path, variable, path, record) == found::yes;
}

bool qd_variable_path(const char* directory, const char* file, const char* variable, path_text& path) {
  path_text file_path;
  return qd_file_path(directory, file, file_path) && qd_variable_path_in(file_path, variable, path);
}

bool qd_catalogue_name(const char* variable, name_text& name) {
  // Neither fits a descriptor: a longer name, and an index so far behind that its generic form is longer.
  constexpr std::size_t generic_room = name_size - sizeof "[xxxxx]";
  if (std::strlen(variable) >= name_size) return false;
  qu_path_join(name, {variable});
  if (!qd_macro_names_column(name)) return true;
  const char opening = name[std::strlen(name) - 1] == ']' ? '[' : '{';
  if (static_cast<std::size_t>(std::strrchr(name, opening) - name) > generic_room) return false;
  qd_macro_name_generic(name);
  return true;
}

}  // namespace qrd
