// The variables of the current file: list, existence, choice.
#include <cstring>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lists.h"
#include "catalogue/qd_lookup.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/name_list.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

namespace {

constexpr int all_variables = MASK_FLOAT | MASK_CHAR | MASK_MACRO | MASK_MACRO_TOO | MASK_SYSTEM;

// The mask of a client's type, or 0.
int mask_of(std::int32_t type) {
  switch (type) {
    case -3:
      return MASK_SELECTION;
    case -2:
      return MASK_FLOAT | MASK_MACRO | MASK_SYSTEM;
    case -1:
      return all_variables;
    case 0:
      return MASK_FLOAT | MASK_MACRO;
    case 1:
      return MASK_CHAR | MASK_SYSTEM;
    case 5:
      return MASK_MACRO_TOO;
    default:
      return 0;
  }
}

}  // namespace

// CVARLST: lists the variables. CVARTLST: those of one type.
request_status server_answer_var_list(const char* request) {
  int mask = all_variables;
  if (std::strcmp(request, "CVARTLST") == 0) {
    std::int32_t type = 0;
    if (!read_arguments(type)) return not_served;
    if (type >= 2 && type <= 4) return refuse("Coordinates variable names are within File Info");
    mask = mask_of(type);
    if (mask == 0) return refuse("Unknown type (%d) for variable", type);
  }
  const server_context& context = current_context;
  if (!is_set(context.file)) return refuse("File is not set");
  string_list names;
  const found listed = qd_list_variables(context.directory, context.file, mask, names);
  if (listed == found::no)
    return refuse("Not a valid Velmar file: %s: %s/%s", context.study, context.directory, context.file);
  return answer_names(listed, names);
}

// CVARXIST: tells whether a variable exists, with the index that its name carries.
request_status server_answer_var_exists(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  const server_context& context = current_context;
  if (!is_set(context.file)) return refuse("File is not set");
  return answer(wire_int{qd_variable_test(true, context.directory, context.file, name) == found::yes});
}

// CVARSET: makes a variable the current one. An index in the name is kept, and not looked at.
request_status server_answer_var_set(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  const server_context& context = current_context;
  if (!is_set(context.file)) return refuse("File is not set");
  qd_var_info info;
  const found state = qd_variable_query(false, context.directory, context.file, name.c_str(), info);
  if (state == found::unreadable) return refuse("Error while getting Variable information");
  if (state != found::yes) {
    return refuse("Not a valid Velmar variable: %s: %s/%s/%s", context.study, context.directory, context.file,
                  name.c_str());
  }
  if (info.type < VAR_FLOAT || info.type > VAR_MACRO) {
    return refuse("Unknown type (%d) for variable", info.type);
  }
  set_current_variable(name.c_str());
  server_debug(1, "Setting Variable: \"%s\".", context.variable);
  return answer();
}

}  // namespace qrd
