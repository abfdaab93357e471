// The names of a level of the catalogue, in the order in which clients show them.
#include "catalogue/qd_lists.h"

#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/qd_lookup.h"
#include "catalogue/qd_walk.h"
#include "disk/store_state.h"

namespace qrd {

namespace {

void add_sorted(std::vector<std::string>& names, string_list& list) {
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) list.add(name.c_str(), name_size);
}

// A list holds all but what nobody will ever read, or it isn't given at all.
found listed(walk_end end) {
  switch (end) {
    case walk_end::parent_gone:
      return found::no;
    case walk_end::cannot_list:
    case walk_end::unreadable:
      return found::unreadable;
    default:
      return found::yes;
  }
}

// What the lookup of the parent means for a list.
found listed_below(found parent) {
  return parent == found::unclear ? found::unreadable : parent;
}

// Names of variables: those that the store makes have their places in front, the others are sorted.
class variable_names {
 public:
  void add(const qd_variable_record& record) {
    if (record.kind <= KIND_PLAIN || record.kind >= kind_count) {
      others_.emplace_back(record.name);
      return;
    }
    // The later one of a kind takes the place.
    if (taken_[record.kind]) others_.push_back(front_[record.kind]);
    front_[record.kind] = record.name;
    taken_[record.kind] = true;
  }
  void add_to(string_list& list) {
    constexpr variable_kind order[] = {KIND_SAMPLE_NUMBER,
                                       KIND_LINE_NUMBER,
                                       KIND_RELATIVE_NUMBER,
                                       KIND_X,
                                       KIND_Y,
                                       KIND_Z,
                                       KIND_X_BEGIN,
                                       KIND_Y_BEGIN,
                                       KIND_Z_BEGIN,
                                       KIND_X_END,
                                       KIND_Y_END,
                                       KIND_Z_END,
                                       KIND_LINE_NAME,
                                       KIND_IX,
                                       KIND_IY,
                                       KIND_IZ};
    for (variable_kind kind : order) {
      if (taken_[kind]) list.add(front_[kind].c_str(), name_size);
    }
    add_sorted(others_, list);
  }

 private:
  std::string front_[kind_count];
  bool taken_[kind_count] = {};
  std::vector<std::string> others_;
};

bool passes(const qd_variable_record& record, int mask) {
  if (mask & MASK_SELECTION) return record.bit_length == 1 && record.type != VAR_CHAR;
  if (!(mask & MASK_SYSTEM) && (record.implicit != 0 || record.kind != KIND_PLAIN)) return false;
  switch (record.type) {
    case VAR_FLOAT:
      return mask & MASK_FLOAT;
    case VAR_CHAR:
      return mask & MASK_CHAR;
    case VAR_MACRO:
      return mask & (MASK_MACRO | MASK_MACRO_TOO);
    default:
      return false;
  }
}

}  // namespace

found qd_list_directories(string_list& list) {
  std::vector<std::string> names;
  path_text path;
  qd_directory_record record;
  const walk_end end =
      qd_walk<directory_level>(store.catalogue_path, path, record, [&](const qd_directory_record& directory) {
        names.emplace_back(directory.name);
        return false;
      });
  const found result = listed(end);
  if (result == found::yes) add_sorted(names, list);
  return result;
}

found qd_list_files(const char* directory, std::int64_t organisation, std::int64_t dimension,
                    string_list& list) {
  path_text directory_path, path;
  const found parent = listed_below(qd_find_directory(directory, directory_path));
  if (parent != found::yes) return parent;
  std::vector<std::string> names;
  qd_file_record record;
  const walk_end end = qd_walk<file_level>(directory_path, path, record, [&](const qd_file_record& file) {
    if (qd_file_fits(file, organisation, dimension)) names.emplace_back(file.name);
    return false;
  });
  const found result = listed(end);
  if (result == found::yes) add_sorted(names, list);
  return result;
}

found qd_list_variables(const char* directory, const char* file, int mask, string_list& list) {
  path_text file_path, path;
  qd_file_record file_record;
  const found parent = listed_below(qd_find_file(directory, file, file_path, file_record));
  if (parent != found::yes) return parent;
  variable_names names;
  qd_variable_record record;
  const walk_end end =
      qd_walk<variable_level>(file_path, path, record, [&](const qd_variable_record& variable) {
        if (passes(variable, mask)) names.add(variable);
        return false;
      });
  const found result = listed(end);
  if (result == found::yes) names.add_to(list);
  return result;
}

}  // namespace qrd
