// CSELSET: makes a variable of the current file the selection, or sets none.
#include "catalogue/qd_info.h"
#include "disk/qd_records.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

request_status server_answer_sel_set(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  const server_context& context = current_context;
  if (!is_set(context.file)) return refuse("File is not set");
  if (*name.c_str() == '\0') {
    set_current_selection(no_name);
    server_debug(1, "Unsetting Selection.");
    return answer();
  }

  // With the index: a column that the macro doesn't have is no variable.
  qd_var_info info;
  const found state = qd_variable_query(true, context.directory, context.file, name.c_str(), info);
  if (state == found::unreadable) return refuse("Cannot get variable info");
  if (state != found::yes)
    return refuse("Not a valid Velmar variable: %s: %s/%s/%s", context.study, context.directory, context.file,
                  name.c_str());
  bool is_selection = (info.type == VAR_FLOAT || info.type == VAR_MACRO) && info.kind == KIND_PLAIN &&
                      info.bit_length == 1 && info.implicit == 0;
  if (!is_selection) return refuse("Variable is not a selection");
  set_current_selection(name.c_str());
  server_debug(1, "Setting Selection: \"%s\".", context.selection);
  return answer();
}

}  // namespace qrd
