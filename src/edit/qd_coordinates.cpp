#include "edit/qd_coordinates.h"

#include <utility>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lookup.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_data_file.h"
#include "edit/qd_manage_variable.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_read_write.h"
#include "units/qu_units.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr std::int64_t coordinate_bits = 64;

// Coordinates that no transfer of numbers can take are as good as none.
bool is_stored_number(const qd_selected_entry& entry) {
  return entry.type == VAR_FLOAT && entry.implicit == 0 && is_numeric_bit_length(entry.bit_length);
}

}  // namespace

const char* prepared_coordinates::create(const char* directory, const char* file, const locked_file& locked,
                                         std::initializer_list<std::span<const builtin_variable, 3>> tables,
                                         std::int64_t dimension) {
  qu_path_join(file_path_, {locked.path});
  organisation_ = locked.record.organisation;
  created_.reserve(tables.size() * 3);
  name_text present[kind_count];
  // What can't be told now is found out by the tests of the names.
  static_cast<void>(qd_special_var_names(directory, file, present));
  for (auto table : tables) {
    for (int axis = 0; axis < dimension; ++axis) {
      const builtin_variable& variable = table[static_cast<std::size_t>(axis)];
      if (present[variable.kind][0] != '\0') continue;
      // Nothing keeps a client from taking such a name for a variable of its own.
      if (qd_variable_test(false, directory, file, variable.name) != found::no) return variable.name;
      if (!qd_create_variable(directory, file, variable.name, VAR_FLOAT, variable.kind, coordinate_bits,
                              &units.axis(axis)))
        return variable.name;
      created_.push_back(variable.name);
    }
  }
  return nullptr;
}

void prepared_coordinates::settle() {
  // Whatever failed last, with the new organisation the file needs them.
  qd_file_record now;
  if (created_.empty() || qd_file_descriptor_read(file_path_, now) != object_state::sound ||
      now.organisation != organisation_)
    return;
  for (const char* name : std::exchange(created_, {})) {
    path_text path;
    qd_variable_record record;
    if (qd_find<variable_level>(file_path_, name, path, record) == found::yes)
      static_cast<void>(qd_remove_object<variable_level>(path, name));
  }
}

std::vector<initial_samples> qd_axis_content(const builtin_variable (&table)[3], std::int64_t dimension,
                                             std::span<const double> values) {
  std::vector<initial_samples> content;
  const std::size_t count = values.size() / static_cast<std::size_t>(dimension);
  for (int axis = 0; axis < dimension; ++axis)
    content.push_back({.variable = table[axis],
                       .format = &units.axis(axis),
                       .numbers = values.subspan(static_cast<std::size_t>(axis) * count, count),
                       .factor = qu_format_factor(units.axis(axis))});
  return content;
}

coordinate_variables::status coordinate_variables::select(
    const char* directory, const char* file,
    std::initializer_list<std::span<const builtin_variable, 3>> tables, std::int64_t dimension) {
  name_text names[kind_count];
  static_cast<void>(qd_special_var_names(directory, file, names));
  for (auto table : tables) {
    for (std::int64_t axis = 0; axis < dimension; ++axis) {
      const builtin_variable& wanted = table[static_cast<std::size_t>(axis)];
      status result = select_one(directory, file, wanted, names[wanted.kind]);
      if (result != status::done) return result;
      ++count_;
    }
  }
  qd_variable_handle handles[most];
  for (std::int64_t i = 0; i < count_; ++i) {
    handles[i] = variables_[i].handle;
    if (!is_stored_number(*qd_entry(handles[i].entry))) return status::not_bound;
  }
  io_.id = qd_set_io(qd_variable_handle{}, count_, handles);
  return io_.id != 0 ? status::done : status::not_bound;
}

coordinate_variables::status coordinate_variables::select_one(const char* directory, const char* file,
                                                              const builtin_variable& wanted,
                                                              const char* present) {
  const bool is_there = present[0] != '\0';
  qu_string_copy(is_there ? present : wanted.name, name_);
  if (!is_there) return status::not_found;
  return !qd_variable_select(directory, file, name_, UNIT_VARIABLE, variables_[count_].handle)
             ? status::not_selected
             : status::done;
}

bool coordinate_variables::write(std::int64_t first, std::int64_t last,
                                 std::span<const double> values) const {
  return qd_write_float_free(io_.id, SEL_MASKED, first, last, values);
}

}  // namespace qrd
