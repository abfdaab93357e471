// More indices for a macro variable.
#include <cstdint>
#include <string>

#include "catalogue/qd_info.h"
#include "catalogue/qd_path.h"
#include "disk/qd_data_file.h"
#include "disk/qd_macro_table.h"
#include "edit/qd_macro_create.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "util/qu_memory.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/arrays.h"
#include "wire/connection.h"

namespace qrd {

namespace {

struct wire_indices {
  std::int32_t count = 0;
  std::int32_t has_numbers = 0;
  std::int32_t has_texts = 0;
  checked_array<std::int64_t> numbers;
  request_texts texts;
};

constexpr char no_count[] = "Problem while reading number of indices";
constexpr char no_numbers[] = "Problem while reading numerical indices";
constexpr char no_texts[] = "Problem while reading alpha indices";

bool read_numbers(wire_indices& indices) {
  checked_array<std::int32_t> numbers;
  if (!numbers.allocate(indices.count) || !indices.numbers.allocate(indices.count))
    return clean_and_refuse(no_numbers);
  if (_qrd_read_int_array(connection.client_socket, numbers.data(), indices.count) == 0)
    return refuse(no_numbers);
  for (std::int64_t i = 0; i < indices.count; ++i) indices.numbers[i] = numbers[i];
  return true;
}

bool read_texts(wire_indices& indices) {
  if (!indices.texts.allocate(indices.count)) return clean_and_refuse(no_texts);
  return indices.texts.read() || refuse(no_texts);
}

// False after a refusal. The whole packet is read first.
bool read_indices(wire_indices& indices) {
  if (!read_arguments(indices.count)) return refuse(no_count);
  if (!read_arguments(indices.has_numbers)) return refuse("Problem while reading numerical indices flag");
  if (indices.has_numbers != 0 && indices.count > 0 && !read_numbers(indices)) return false;
  if (!read_arguments(indices.has_texts)) return refuse("Problem while reading alpha indices flag");
  if (indices.has_texts != 0 && indices.count > 0 && !read_texts(indices)) return false;
  if (indices.count < 0) return refuse(no_count);
  return indices.count == 0 || indices.has_numbers != 0 || refuse(no_numbers);
}

// The descriptor of the macro variable, or none when it can't be read.
qd_macro_descr* read_macro(const char* variable) {
  path_text path;
  if (!qd_variable_path(current_context.directory, current_context.file, variable, path)) return nullptr;
  return qd_macro_descr_read(path);
}

}  // namespace

// CMACROADD: adds indices to the current macro variable.
request_status server_answer_add_macro_indices(const char* /*request*/) {
  wire_indices indices;
  if (!read_indices(indices)) return not_served;

  const server_context& context = current_context;
  qd_var_info info;
  name_text name;
  if (!is_set(context.variable)) return refuse("Variable is not set");
  if (!qd_catalogue_name(context.variable, name) ||
      !qd_info_var_name(context.directory, context.file, name, info))
    return refuse("Cannot get variable info");
  if (info.type != VAR_MACRO)
    return refuse("Not a valid Velmar macro: %s: %s/%s/%s", context.study, context.directory, context.file,
                  context.variable);
  macro_descriptor macro(read_macro(name));
  if (!macro || !is_numeric_bit_length(info.bit_length)) return refuse("Cannot get variable info");

  const char* no_text = "";
  const char* const* texts = indices.count > 0 ? indices.texts.data() : &no_text;
  if (indices.has_texts == 0) texts = nullptr;
  std::string refusal;
  const macro_growth created = qd_create_macro_variable_indices(
      context.directory, context.file, name, indices.count, indices.numbers.data(), texts, &refusal);
  if (created == macro_growth::gone) return refuse("Cannot get variable info");
  if (created == macro_growth::done) return answer();
  if (refusal.empty()) return not_served;
  return refuse("%s", refusal.c_str());
}

}  // namespace qrd
