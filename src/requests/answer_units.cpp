// The requests that change the units in which a client talks.
#include <string>

#include "catalogue/qd_locked_file.h"
#include "catalogue/qd_path.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_macro_table.h"
#include "disk/qd_variable_descriptor.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "units/qu_units.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

namespace {

void set_axis_formats_to_distance() {
  for (int axis = 0; axis < 3; ++axis) qu_format_copy(units.distance, units.axis(axis));
}

// The first symbol is the unit of conversion, the second (or null) the one on display.
void set_variable_unit(const char* symbol, const char* display, qd_format_record& format) {
  if (!units.kept) {
    qu_string_copy(display != nullptr ? display : symbol, format.unit);
    return;
  }
  format.length_flag = qu_unit_factor(symbol, &format.factor);
  qu_string_copy(symbol, format.unit);
  if (format.length_flag == 0 || display == nullptr) return;
  double unused;
  bool is_symbol = qu_unit_factor(display, &unused) != 0;
  qu_string_copy(((is_symbol ? "_" : "") + std::string(display)).c_str(), format.unit);
}

}  // namespace

// CDISTUSET: sets the distance unit, and with it the units of objects to be created.
request_status server_answer_set_dist_unit(const char* /*request*/) {
  request_text symbol;
  if (!read_arguments(symbol)) return not_served;
  double factor = 1.0;
  if (units.kept && qu_unit_factor(symbol.c_str(), &factor) == 0)
    return refuse("Not a valid Unit: \"%s\"", symbol.c_str());

  qu_string_copy(symbol.c_str(), units.distance.unit);
  units.distance.factor = factor;
  set_axis_formats_to_distance();
  server_debug(1, "Setting Unit: \"%s\".", symbol.c_str());
  return answer();
}

// CUNITMODE: 0 is the distance unit for every length, anything else each variable's own unit.
request_status server_answer_set_unit_mode(const char* /*request*/) {
  if (!read_arguments(current_context.unit_mode)) return not_served;
  if (current_context.unit_mode == 0) set_axis_formats_to_distance();
  server_debug(1, "Setting Unit Mode to %d", current_context.unit_mode);
  return answer();
}

// CUNITCR: sets the units of objects to be created, axis by axis. Ignored in unit mode 0.
request_status server_answer_set_creation_units(const char* /*request*/) {
  unit_text symbols[3] = {"", "", ""};
  if (!read_arguments(symbols[0], symbols[1], symbols[2])) return not_served;
  if (current_context.unit_mode == 0) return answer();

  double factors[3];
  for (int axis = 0; axis < 3; ++axis)
    if (qu_unit_factor(symbols[axis], &factors[axis]) == 0)
      return refuse("unit %d (%s) is not a length unit symbol", axis + 1, symbols[axis]);
  for (int axis = 0; axis < 3; ++axis) {
    qu_string_copy(symbols[axis], units.axis(axis).unit);
    units.axis(axis).factor = factors[axis];
  }
  server_debug(1, "Setting Creation Units: X=%s, Y=%s, Z=%s", symbols[0], symbols[1], symbols[2]);
  return answer();
}

// CVARUNIT: changes the unit of the current variable. Stored values stay as they are.
request_status server_answer_set_var_unit(const char* /*request*/) {
  std::int32_t count = 0;
  unit_text symbol = "", display = "";
  if (!read_arguments(count, symbol)) return not_served;
  if (count == 2 && !read_arguments(display)) return not_served;
  if (!is_set(current_context.variable)) return refuse("Variable is not set");

  name_text variable;
  qu_string_copy(current_context.variable, variable);
  qd_macro_name_generic(variable);
  locked_file file;
  path_text path;
  qd_variable_record record;
  if (file.open(current_context.directory, current_context.file) != found::yes ||
      !qd_variable_path_in(file.path, variable, path) ||
      qd_variable_descriptor_read(path, record) != object_state::sound)
    return refuse("Cannot get variable descriptor");
  set_variable_unit(symbol, count == 2 ? display : nullptr, record.format);
  if (qd_variable_descriptor_write(path, record) != object_state::sound)
    return refuse("Cannot write variable descriptor");
  return answer();
}

}  // namespace qrd
