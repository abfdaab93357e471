// From the names of the catalogue to paths on disk.
#include "catalogue/qd_path.h"

#include "catalogue/qd_walk.h"

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

}  // namespace qrd
