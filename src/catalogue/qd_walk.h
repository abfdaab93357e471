// Walking over one level of the catalogue, and the look-ups that rest on it. Names live in descriptors
// only, so that a look-up reads the siblings in the order of the disk up to the wanted one.
#pragma once

#include <cerrno>
#include <cstring>

#include "catalogue/qd_name_hints.h"
#include "catalogue/qd_placement.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_directory_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_records.h"
#include "disk/qd_variable_descriptor.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_outcome.h"
#include "util/qu_string.h"

namespace qrd {

struct qd_directory_record {
  name_text name = "";
};

// The levels: how the entries of each are told from others on disk, and how they are read.
struct directory_level {
  using record_type = qd_directory_record;
  // DIRE. at the start. The same in another case is fatal: the tree was moved carelessly.
  static bool is_entry(const char* parent, const char* entry);
  static object_state read(const char* path, record_type& record) {
    return qd_directory_descriptor_read(path, record.name);
  }
};
struct file_level {
  using record_type = qd_file_record;
  // FILE. anywhere in the name.
  static bool is_entry(const char* /*parent*/, const char* entry) {
    return std::strstr(entry, "FILE.") != nullptr;
  }
  static object_state read(const char* path, record_type& record) {
    return qd_file_descriptor_read(path, record);
  }
};
struct variable_level {
  using record_type = qd_variable_record;
  // VARI. anywhere in the name.
  static bool is_entry(const char* /*parent*/, const char* entry) {
    return std::strstr(entry, "VARI.") != nullptr;
  }
  static object_state read(const char* path, record_type& record) {
    return qd_variable_descriptor_read(path, record);
  }
};

enum class [[nodiscard]] walk_end{
    all_seen,
    stopped,      // by the visitor
    damaged,      // all but some whose descriptors nobody will ever understand
    unreadable,   // all but some whose descriptors can't be read now
    cannot_list,  // the parent's folder
    parent_gone   // another server has deleted it
};

// Keeps count of what a walk could not read.
class unread_objects {
 public:
  // Of an object that isn't sound. False if it is no use to go on: handles, or the disk, are missing.
  [[nodiscard]] bool pass_over(object_state state);
  bool any_gone() const { return gone_; }
  walk_end end() const;

 private:
  bool gone_ = false;
  bool damaged_ = false;
  int unreadable_ = 0;
};

// Reads the objects of a level one after the other and shows them to `visit`, which stops the walk by
// giving true. `path` and `record` hold the last one that was tried. An object that another server deletes
// meanwhile is passed over; so is one that can't be read, after a report, but the end then tells it.
template <typename Level, typename Visit>
walk_end qd_walk(const char* parent, path_text& path, typename Level::record_type& record, Visit visit) {
  directory_listing listing(parent);
  if (!listing) return qu_is_gone(errno) ? walk_end::parent_gone : walk_end::cannot_list;
  bool any_seen = false;
  unread_objects unread;
  name_hints::folder hints(known_names, parent);
  while (const char* entry = listing.next()) {
    if (!Level::is_entry(parent, entry)) continue;
    qu_path_join(path, {parent, path_separator, entry});
    const object_state state = Level::read(path, record);
    if (state != object_state::sound) {
      if (!unread.pass_over(state)) break;
      continue;
    }
    any_seen = true;
    hints.remember(record.name, entry);
    if (visit(static_cast<const typename Level::record_type&>(record))) return walk_end::stopped;
  }
  // What another server is just deleting as a whole must not look like a folder with few objects.
  return (unread.any_gone() || !any_seen) && qd_folder_gone(parent) ? walk_end::parent_gone : unread.end();
}

// True if the object of that path bears that name still, and `holds(record)` what was found: another server
// may have changed it since, or its number may have a new owner.
template <typename Level, typename Holds>
bool qd_is_still(const char* path, const char* name, Holds holds) {
  typename Level::record_type now;
  return Level::read(path, now) == object_state::sound && std::strcmp(now.name, name) == 0 &&
         holds(static_cast<const typename Level::record_type&>(now));
}
template <typename Level>
bool qd_is_still(const char* path, const char* name) {
  return qd_is_still<Level>(path, name, [](const typename Level::record_type&) { return true; });
}

// Deletes the object of that path if `is_meant(record)` (see qd_remove_folder). A number that another object
// has taken since the look-up is left alone. False after a report if it can't be removed, or if nobody can
// tell which object it is.
template <typename Level, typename IsMeant>
[[nodiscard]] bool qd_remove_object(const char* path, IsMeant is_meant) {
  bool can_tell = true;
  const bool removed = qd_remove_folder(path, [&](const char* folder) {
    typename Level::record_type record;
    can_tell = Level::read(folder, record) == object_state::sound;
    return can_tell && is_meant(static_cast<const typename Level::record_type&>(record));
  });
  return can_tell && removed;
}
template <typename Level>
[[nodiscard]] bool qd_remove_object(const char* path, const char* name) {
  return qd_remove_object<Level>(path, [name](const typename Level::record_type& record) {
    return std::strcmp(record.name, name) == 0;
  });
}

// What the end of a walk means for the object that was looked for.
found qd_lookup_result(walk_end end);

// True if the object is where it was seen last.
template <typename Level>
bool qd_find_by_hint(const char* parent, const char* name, path_text& path,
                     typename Level::record_type& record) {
  name_hints::folder hints(known_names, parent);
  const std::string_view entry = hints.where(name);
  if (entry.empty()) return false;
  qu_path_join(path, {parent, path_separator, entry});
  if (Level::read(path, record) == object_state::sound && std::strcmp(record.name, name) == 0) return true;
  hints.forget(name);
  return false;
}

template <typename Level>
found qd_find(const char* parent, const char* name, path_text& path, typename Level::record_type& record) {
  if (qd_find_by_hint<Level>(parent, name, path, record)) return found::yes;
  return qd_lookup_result(qd_walk<Level>(
      parent, path, record,
      [name](const typename Level::record_type& seen) { return std::strcmp(seen.name, name) == 0; }));
}

// Look-ups by name from the top of the catalogue, one walk per level. `path` and `record` are those of
// the object if it was found.
found qd_find_directory(const char* directory, path_text& path);
found qd_find_file(const char* directory, const char* file, path_text& path, qd_file_record& record);

}  // namespace qrd
