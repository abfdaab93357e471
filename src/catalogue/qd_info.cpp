// What the catalogue knows of a file or a variable.
#include "catalogue/qd_info.h"

#include <cstring>

#include "catalogue/qd_lookup.h"
#include "catalogue/qd_path.h"
#include "disk/qd_handles.h"
#include "disk/qd_line_table.h"

namespace qrd {

void role_records::walk(const char* file_path) {
  path_text path;
  qd_variable_record record;
  const walk_end end =
      qd_walk<variable_level>(file_path, path, record, [this](const qd_variable_record& seen) {
        const bool wanted = (seen.type == VAR_FLOAT || seen.type == VAR_CHAR) && seen.kind >= 0 &&
                            seen.kind < kind_count && !is_there[seen.kind];
        if (wanted) {
          records[seen.kind] = seen;
          is_there[seen.kind] = true;
        }
        return false;
      });
  const bool is_told = end != walk_end::unreadable && end != walk_end::cannot_list;
  otherwise = is_told ? qd_lookup_result(end) : found::unreadable;
}

void qd_fill_var_info(const qd_file_record& file, const qd_variable_record& variable, qd_var_info& info) {
  info.sample_count = file.sample_count;
  info.type = variable.type;
  info.kind = variable.kind;
  info.implicit = variable.implicit;
  info.bit_length = variable.bit_length;
  info.has_unit = variable.format.length_flag != 0 || !units.kept;
  qu_format_copy(variable.format, info.format);
}

void qd_describe_file(const qd_file_record& record, qd_file_info& info) {
  info.organisation = record.organisation;
  info.dimension = record.dimension;
  info.sample_count = record.sample_count;
  info.line_count = record.line_count;
}

bool qd_fill_file_info(const char* file_path, const qd_file_record& record, qd_file_info& info) {
  qd_describe_file(record, info);
  return !is_lines(record.organisation) || qd_line_table_ends_hold(file_path, record);
}

bool qd_info_var_name(const char* directory, const char* file, const char* variable, qd_var_info& info) {
  return qd_variable_query(false, directory, file, variable, info) == found::yes;
}

found qd_variable_query(bool test_index, const char* directory, const char* file, const char* variable,
                        qd_var_info& info, qd_file_info* file_info, qd_variable_place* place) {
  info = qd_var_info();
  if (!qd_two_files_available()) return found::unreadable;
  qd_variable_place seen;
  qd_file_record file_record;
  qd_variable_record record;
  found result = qd_look_for_file(directory, file, seen.file_path, file_record);
  if (result == found::yes)
    result = qd_look_for_variable(test_index, seen.file_path, variable, seen.path, record);
  if (result != found::yes) return qd_tested(result);
  // Whoever asks for the values next works with their place in the data file.
  if (!qd_data_length_fits(file_record, record)) return found::unreadable;
  if (file_info != nullptr && !qd_fill_file_info(seen.file_path, file_record, *file_info))
    return found::unreadable;
  if (place != nullptr) *place = seen;
  qd_fill_var_info(file_record, record, info);
  return found::yes;
}

found qd_special_var_names(const char* directory, const char* file, name_text (&names)[kind_count]) {
  for (name_text& name : names) name[0] = '\0';
  path_text file_path;
  if (!qd_file_path(directory, file, file_path)) return found::unreadable;
  role_records roles;
  roles.walk(file_path);
  for (int kind = 0; kind < kind_count; ++kind) {
    if (roles.is_there[kind]) std::strcpy(names[kind], roles.records[kind].name);
  }
  return roles.otherwise;
}

found qd_special_var_name(const char* directory, const char* file, int kind, name_text& name) {
  path_text file_path, path;
  if (!qd_file_path(directory, file, file_path)) return found::unclear;
  qd_variable_record record;
  const walk_end end =
      qd_walk<variable_level>(file_path, path, record, [kind](const qd_variable_record& seen) {
        return (seen.type == VAR_FLOAT || seen.type == VAR_CHAR) && seen.kind == kind;
      });
  if (end == walk_end::stopped) std::strcpy(name, record.name);
  return qd_lookup_result(end);
}

bool qd_info_file(const char* directory, const char* file, qd_file_info& info, path_text& path,
                  qd_file_record& record) {
  info = qd_file_info();
  if (!qd_two_files_available()) return false;
  // The numbers 1 and 2 are left out: a file that is gone, or that can't be looked up, is the caller's to
  // refuse.
  return qd_find_file(directory, file, path, record) == found::yes && qd_fill_file_info(path, record, info);
}

bool qd_info_file(const char* directory, const char* file, qd_file_info& info, qd_grid_record* grid) {
  path_text path;
  qd_file_record record;
  if (!qd_info_file(directory, file, info, path, record)) return false;
  if (grid != nullptr) *grid = record.organisation == ORG_GRID ? record.grid : qd_grid_record();
  return true;
}

bool qd_coordinates_formats(const role_records& roles, std::int64_t dimension, qd_format_record* x,
                            qd_format_record* y, qd_format_record* z) {
  struct {
    qd_format_record* output;
    variable_kind kind;
  } const axes[] = {{x, KIND_X}, {y, KIND_Y}, {z, KIND_Z}};
  bool all_there = true;
  for (const auto& axis : axes) {
    if (axis.output == nullptr || (axis.kind == KIND_Z && dimension != 3)) continue;
    if (roles.is_there[axis.kind]) {
      qu_format_copy(roles.records[axis.kind].format, *axis.output);
    } else {
      all_there = false;
    }
  }
  return all_there;
}

bool qd_coordinates_formats(int flag, const char* directory, const char* file, qd_format_record* x,
                            qd_format_record* y, qd_format_record* z) {
  for (qd_format_record* output : {x, y, z}) {
    if (output != nullptr) qu_format_copy(flag == 1 ? units.distance : float_default, *output);
  }
  path_text path;
  qd_file_record file_record;
  if (std::strcmp(directory, no_name) == 0 || std::strcmp(file, no_name) == 0 ||
      qd_find_file(directory, file, path, file_record) != found::yes) {
    return false;
  }
  role_records roles;
  roles.walk(path);
  return qd_coordinates_formats(roles, file_record.dimension, x, y, z);
}

}  // namespace qrd
