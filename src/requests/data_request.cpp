#include "requests/data_request.h"

#include <cinttypes>
#include <limits>

#include "catalogue/qd_info.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_handles.h"
#include "disk/qd_line_table.h"
#include "disk/qd_macro_table.h"
#include "requests/context.h"
#include "samples/qd_implicit.h"
#include "samples/qd_open_variable.h"
#include "samples/qd_selection_rows.h"
#include "wire/arguments.h"
#include "wire/connection.h"

namespace qrd {

std::int64_t limited_product(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  if (!__builtin_mul_overflow(a, b, &product)) return product;
  using limits = std::numeric_limits<std::int64_t>;
  return (a < 0) == (b < 0) ? limits::max() : limits::min();
}

namespace {

constexpr char no_file_information[] = "Error while getting file information";
constexpr char no_memory_for[] = "Memory allocation failed%s (%" PRId64 " bytes)";

}  // namespace

refused refuse_memory(const char* purpose, std::int64_t count, std::int64_t size) {
  return refuse(no_memory_for, purpose, limited_product(count, size));
}

refused clean_and_refuse_memory(const char* purpose, std::int64_t count, std::int64_t size) {
  return clean_and_refuse(no_memory_for, purpose, limited_product(count, size));
}

data_request::~data_request() {
  if (keeps_selection_) selection_.handle = {};
}

bool data_request::read_range() {
  return read_arguments(first, last);
}

bool data_request::read_float_range() {
  return !client_is(float_range_client) || read_range();
}

bool data_request::read_char_range() {
  return !client_is(text_range_client) || read_range();
}

bool data_request::find_variable() {
  if (!is_set(current_context.variable)) return refuse("Variable is not set");
  variable_found_ = qd_variable_query(false, current_context.directory, current_context.file,
                                      current_context.variable, variable, &file, &place_) == found::yes;
  return variable_found_ || refuse("Error while getting file or Variable information");
}

bool data_request::check_index() const {
  if (variable.type != VAR_MACRO || current_context.indice != -1) return true;
  return refuse("No indice is defined for current macro variable");
}

bool data_request::check_range() {
  const char* verb = way_ == reading ? "read" : "written";
  const char* relation = way_ == reading ? "match" : "verify";
  const std::int64_t n = file.sample_count;
  if (first == -1) first = 1;
  if (last == -1) last = n;
  if (first < 1 || first > n)
    return refuse("First %s Sample Number (%" PRId64 ") doesn't %s 1 <= SN <= %" PRId64, verb, first,
                  relation, n);
  if (last < 1 || last > n)
    return refuse("Last %s Sample Number (%" PRId64 ") doesn't %s 1 <= SN <= %" PRId64, verb, last, relation,
                  n);
  if (last < first)
    return refuse("First %s Sample Number (%" PRId64 ") must be lower than Last (%" PRId64 ")", verb, first,
                  last);
  return true;
}

bool data_request::find_lines_file() {
  const server_context& context = current_context;
  if (!is_set(context.variable)) return refuse("Variable is not set");
  if (!is_set(context.file)) return refuse("File is not set");
  if (!qd_two_files_available() ||
      qd_find_file(context.directory, context.file, place_.file_path, lines_) != found::yes)
    return refuse("%s", no_file_information);
  qd_describe_file(lines_, file);
  if (!is_lines(file.organisation)) return refuse("Current file is not a lines file");
  return true;
}

bool data_request::set_line(std::int64_t line) {
  return qd_line_table_read_line(place_.file_path, lines_, line, first, last) ||
         refuse("%s", no_file_information);
}

bool data_request::find_selection(int entries) {
  if (selection_.handle.entry != 0) return true;
  const server_context& context = current_context;
  return qd_free_entries() >= entries &&
         qd_selection_select(context.directory, context.file, context.selection, selection_.handle);
}

std::optional<std::int64_t> data_request::count_selected() {
  if (!find_selection(1)) return std::nullopt;
  return qd_selected_samples_count(selection_.handle, first, last);
}

bool data_request::select_selection() {
  const char* name = current_context.selection;
  if (!is_set(name)) return true;
  // Both variables need a place in the table.
  return (find_selection(2) && selection_.handle.macro_slot != -1 &&
          qd_entry(selection_.handle.entry)->sample_count == file.sample_count) ||
         refuse("Cannot select selection variable %s", name);
}

bool data_request::select_variable(unit_choice choice) {
  const server_context& context = current_context;
  // A column may have gone, or never have been: the current variable is only known by its macro's name.
  const bool is_column = qd_macro_names_column(context.variable);
  if (is_column || !variable_found_)
    variable_found_ = qd_variable_query(is_column, context.directory, context.file, context.variable,
                                        variable, nullptr, &place_) == found::yes;
  bool selected = variable_found_ && qd_free_entries() >= 1;
  if (selected && is_column)
    selected =
        qd_variable_select(context.directory, context.file, context.variable, choice, variable_.handle);
  else if (selected)
    selected = qd_variable_select_at(place_, context.directory, context.file, context.variable, choice,
                                     variable_.handle);
  return (selected && entry().sample_count == file.sample_count) || refuse("Cannot select variable");
}

bool data_request::open(unit_choice choice) {
  if (!select_selection() || !select_variable(choice)) return false;
  if (qd_can_be_bound(selection_.handle, variable_.handle))
    io_.id = qd_set_io(selection_.handle, 1, &variable_.handle);
  return io_.id != 0 || refuse("Cannot get io for variable");
}

bool data_request::open() {
  return open(current_context.unit_mode != 0 ? UNIT_VARIABLE : UNIT_DISTANCE);
}

bool data_request::set_index() {
  if (variable.type != VAR_MACRO) return true;
  // The index may have left the macro since it was chosen.
  bool known = variable_.handle.macro_slot != -1;
  if (!known) {
    macro_descriptor descriptor(qd_macro_descr_read(entry().variable_path));
    known = descriptor && descriptor->slot_of(current_context.indice) >= 0;
  }
  if (known && qd_set_macro_indices_in_io(io_.id, current_context.indice)) return true;
  return refuse("Cannot set macro indices for variable");
}

bool data_request::is_numeric() const {
  const qd_selected_entry& selected = entry();
  if (selected.type == VAR_CHAR) return false;
  if (selected.implicit == 0) return true;
  if (way_ == writing || !qd_is_computed_kind(selected.kind)) return false;
  bool needs_lines = selected.kind == KIND_RELATIVE_NUMBER || selected.kind == KIND_LINE_NUMBER;
  return !needs_lines || is_lines(file.organisation);
}

refused data_request::refuse_transfer() const {
  return refuse("Problem while %s %s/%s/%s", way_ == reading ? "reading" : "writing",
                current_context.directory, current_context.file, current_context.variable);
}

}  // namespace qrd
