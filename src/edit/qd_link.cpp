// The link between a lines file and its header: each file record holds the name of the other. The header
// is a points file with one sample per line; one of its text variables may name the lines.
#include "edit/qd_link.h"

#include <cstring>
#include <map>
#include <set>
#include <string>

#include "catalogue/qd_locked_file.h"
#include "catalogue/qd_path.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_descriptor_changes.h"
#include "disk/qd_handles.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// The files of one directory that a change of links concerns, each locked and read under its lock.
class linked_files {
 public:
  struct file : locked_file {
    found state = found::no;
    bool changed = false;
  };

  // In the order of the names, so that two servers never wait for each other.
  linked_files(const char* directory, const std::set<std::string>& names) {
    for (const std::string& name : names) {
      file& side = files_[name];
      side.state = side.open(directory, name.c_str());
    }
  }

  // The file of a name that was asked for, or null if it can't be had.
  file* get(const char* name) {
    const auto side = files_.find(name);
    return side != files_.end() && side->second.state == found::yes ? &side->second : nullptr;
  }

  // Ends the link of a file on both sides; a partner that is no more is told. False if the partner is there
  // and can't be read.
  bool end(file& side, bool reset_line_name) {
    if (side.record.link_name[0] == '\0') return true;
    const auto partner = files_.find(side.record.link_name);
    if (partner == files_.end() || partner->second.state == found::unclear) return false;
    if (partner->second.state == found::no)
      qu_message("WARNING: The Linked File %s does not exist", side.record.link_name);
    else if (!free(partner->second, reset_line_name))
      return false;
    return free(side, reset_line_name);
  }

  // Takes the partner from a record; the Line Name variable of a points file becomes a plain one.
  bool free(file& side, bool reset_line_name) {
    set_link(side, "");
    return !reset_line_name || side.record.organisation != ORG_POINTS || reset_line_name_of(side.path);
  }

  void set_link(file& side, const char* partner) {
    qu_string_copy(partner, side.record.link_name);
    side.changed = true;
  }

  // All that has changed goes to disk, the lines file last; or with `commit` false only is tried.
  bool write(bool commit) {
    for (bool is_points : {true, false})
      for (auto& [name, side] : files_)
        if (side.changed && (side.record.organisation == ORG_POINTS) == is_points &&
            !changes_.add(side.path, side.record))
          return false;
    return !commit || changes_.commit();
  }

 private:
  bool reset_line_name_of(const char* points_path) {
    path_text path;
    qd_variable_record record;
    const walk_end end = qd_walk<variable_level>(
        points_path, path, record,
        [](const qd_variable_record& seen) { return seen.type != VAR_MACRO && seen.kind == KIND_LINE_NAME; });
    const found state = qd_lookup_result(end);
    if (state != found::yes) return state == found::no;
    record.kind = KIND_PLAIN;
    return changes_.add(path, record);
  }

  std::map<std::string, file> files_;
  descriptor_changes changes_;
};

// The file and its present partner.
std::set<std::string> with_partner(const char* directory, const char* name) {
  std::set<std::string> names = {name};
  path_text path;
  qd_file_record record;
  if (qd_find_file(directory, name, path, record) == found::yes && record.link_name[0] != '\0')
    names.insert(record.link_name);
  return names;
}

bool report_failure(const char* file) {
  qu_message("WARNING: LINK DELETION FAILED, THE FILE %s IS NO MORE,\n", file);
  qu_message("         OR A DESCRIPTOR CANNOT BE WRITTEN\n");
  return false;
}

bool delete_link(const char* directory, const char* file, bool reset_line_name, bool commit) {
  if (!qd_two_files_available("LINK DELETION FAILED")) return false;
  linked_files files(directory, with_partner(directory, file));
  linked_files::file* side = files.get(file);
  if (side == nullptr || !files.end(*side, reset_line_name) || !files.write(commit))
    return report_failure(file);
  return true;
}

}  // namespace

bool qd_create_link(const char* directory, const char* lines_file, const char* points_file) {
  std::set<std::string> names = with_partner(directory, lines_file);
  names.merge(with_partner(directory, points_file));
  linked_files files(directory, names);
  linked_files::file* points = files.get(points_file);
  linked_files::file* lines = files.get(lines_file);
  if (points == nullptr || lines == nullptr || points->record.organisation != ORG_POINTS ||
      !is_lines(lines->record.organisation) || !files.end(*points, true) || !files.end(*lines, true))
    return false;
  files.set_link(*points, lines_file);
  files.set_link(*lines, points_file);
  return files.write(true);
}

bool qd_delete_link(const char* directory, const char* file, bool reset_line_name) {
  return delete_link(directory, file, reset_line_name, true);
}

bool qd_link_can_be_deleted(const char* directory, const char* file) {
  return delete_link(directory, file, true, false);
}

bool qd_forget_partner(const char* directory, const char* file, const char* deleted) {
  linked_files files(directory, {file});
  linked_files::file* side = files.get(file);
  if (side == nullptr || std::strcmp(side->record.link_name, deleted) != 0) return true;
  return (files.free(*side, true) && files.write(true)) || report_failure(file);
}

found qd_get_link(const char* directory, const char* file, name_text& partner) {
  if (!qd_two_files_available()) return found::unclear;
  path_text path;
  qd_file_record record;
  if (qd_find_file(directory, file, path, record) != found::yes) return found::unclear;
  if (record.link_name[0] == '\0') return found::no;
  if (!qd_file_path(directory, record.link_name, path)) {
    qu_message("WARNING: Linked File %s does not exist", record.link_name);
    return found::unclear;
  }
  qu_string_copy(record.link_name, partner);
  return found::yes;
}

}  // namespace qrd
