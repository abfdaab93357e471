#include "catalogue/qd_walk.h"

#include <strings.h>

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

}  // namespace qrd
