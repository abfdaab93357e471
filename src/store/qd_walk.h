// Walking over one level of the catalogue, and the look-ups that rest on it. Names live in descriptors
// only, so that a look-up reads the siblings in the order of the disk up to the wanted one.
#pragma once

#include <cstring>

#include "store/qd_descriptor.h"
#include "store/qd_placement.h"
#include "store/qd_records.h"
#include "store/qd_tools.h"
#include "util/qu_file.h"
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
  static int read(const char* path, record_type& record) {
    return qd_directory_descriptor_read(path, record.name);
  }
};
struct file_level {
  using record_type = qd_file_record;
  // FILE. anywhere in the name.
  static bool is_entry(const char* /*parent*/, const char* entry) {
    return std::strstr(entry, "FILE.") != nullptr;
  }
  static int read(const char* path, record_type& record) { return qd_file_descriptor_read(path, record); }
};
struct variable_level {
  using record_type = qd_variable_record;
  // VARI. anywhere in the name.
  static bool is_entry(const char* /*parent*/, const char* entry) {
    return std::strstr(entry, "VARI.") != nullptr;
  }
  static int read(const char* path, record_type& record) { return qd_variable_descriptor_read(path, record); }
};

enum class walk_end {
  all_seen,
  stopped,      // by the visitor
  unreadable,   // at a descriptor
  cannot_list,  // the parent's folder
  parent_gone   // another server has deleted it
};

// What is there of a folder that can't be listed; errno tells why it can't.
walk_end qd_unlisted(const char* parent);

// Reads the objects of a level one after the other and shows them to `visit`, which stops the walk by
// giving true. An object that another server deletes meanwhile is passed over. `path` and `record` hold
// the last one read.
template <typename Level, typename Visit>
walk_end qd_walk(const char* parent, path_text& path, typename Level::record_type& record, Visit visit) {
  directory_listing listing(parent);
  if (!listing) return qd_unlisted(parent);
  bool any_seen = false, any_gone = false;
  while (const char* entry = listing.next()) {
    if (!Level::is_entry(parent, entry)) continue;
    qu_path_join(path, {parent, path_separator, entry});
    if (!Level::read(path, record)) {
      if (!qd_object_gone()) return walk_end::unreadable;
      any_gone = true;
      continue;
    }
    any_seen = true;
    if (visit(static_cast<const typename Level::record_type&>(record))) return walk_end::stopped;
  }
  // What another server is just deleting as a whole must not look like a folder with few objects.
  return (any_gone || !any_seen) && qd_folder_gone(parent) ? walk_end::parent_gone : walk_end::all_seen;
}

// Deletes the object of that path and name (see qd_remove_folder). A number that another object has taken
// since the look-up is left alone.
template <typename Level>
int qd_remove_object(const char* path, const char* name) {
  return qd_remove_folder(path, [name](const char* folder) {
    typename Level::record_type record;
    return !Level::read(folder, record) || std::strcmp(record.name, name) == 0;
  });
}

// Results of a look-up; the values are those of the tests.
enum lookup_result : int { LOOKUP_FOUND = 0, LOOKUP_ABSENT = 1, LOOKUP_UNREADABLE = 2 };
lookup_result qd_lookup_result(walk_end end);

template <typename Level>
lookup_result qd_find(const char* parent, const char* name, path_text& path,
                      typename Level::record_type& record) {
  return qd_lookup_result(qd_walk<Level>(
      parent, path, record,
      [name](const typename Level::record_type& seen) { return std::strcmp(seen.name, name) == 0; }));
}

// Look-ups by name from the top of the catalogue, one walk per level. `path` and `record` are those of
// the object if it was found.
lookup_result qd_find_directory(const char* directory, path_text& path);
lookup_result qd_find_file(const char* directory, const char* file, path_text& path, qd_file_record& record);

}  // namespace qrd
