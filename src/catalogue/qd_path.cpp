// From the names of the catalogue to paths on disk.
#include "catalogue/qd_path.h"

#include <strings.h>

#include <cstring>

#include "catalogue/qd_walk.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_macro_table.h"
#include "disk/store_state.h"
#include "util/qu_directory.h"

namespace qrd {

bool directory_level::is_entry(const char* parent, const char* entry) {
  constexpr char start[] = "DIRE.";
  constexpr std::size_t length = sizeof start - 1;
  if (std::strncmp(entry, start, length) == 0) return true;
  if (strncasecmp(entry, start, length) == 0) qu_lower_case_directory(parent, entry);
  return false;
}

bool unread_objects::pass_over(object_state state) {
  switch (state) {
    case object_state::gone:
      gone_ = true;
      return true;
    case object_state::unreadable: {
      // One bad block leaves the others in reach; without handles none can be read.
      constexpr int patience = 8;
      return ++unreadable_ < patience;
    }
    case object_state::damaged:
    case object_state::sound:
      break;
  }
  damaged_ = true;
  return true;
}

walk_end unread_objects::end() const {
  if (unreadable_ > 0) return walk_end::unreadable;
  return damaged_ ? walk_end::damaged : walk_end::all_seen;
}

found qd_lookup_result(walk_end end) {
  switch (end) {
    case walk_end::stopped:
      return found::yes;
    case walk_end::all_seen:
    case walk_end::parent_gone:
      return found::no;
    case walk_end::damaged:
    case walk_end::unreadable:
    case walk_end::cannot_list:
      break;
  }
  return found::unclear;
}

found qd_find_directory(const char* directory, path_text& path) {
  qd_directory_record record;
  return qd_find<directory_level>(store.catalogue_path, directory, path, record);
}

found qd_find_file(const char* directory, const char* file, path_text& path, qd_file_record& record) {
  path_text directory_path;
  const found result = qd_find_directory(directory, directory_path);
  return result == found::yes ? qd_find<file_level>(directory_path, file, path, record) : result;
}

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
