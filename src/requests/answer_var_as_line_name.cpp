// The text variable of a header that names the lines.
#include "catalogue/qd_info.h"
#include "catalogue/qd_lookup.h"
#include "edit/qd_line_name.h"
#include "edit/qd_link.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "wire/answer.h"

namespace qrd {

// CVARLNAME: makes the current variable the Line Name of its linked points file.
request_status server_answer_var_as_line_name(const char* /*request*/) {
  const server_context& context = current_context;
  if (!is_set(context.variable)) return refuse("Variable is not set");
  if (qd_file_test(ORG_POINTS, DIM_ANY, context.directory, context.file) != found::yes)
    return refuse("Not a valid Velmar Points file: %s: %s/%s", context.study, context.directory,
                  context.file);
  name_text partner;
  if (qd_get_link(context.directory, context.file, partner) != found::yes)
    return refuse("Points file is not linked to a Lines File: %s: %s/%s", context.study, context.directory,
                  context.file);
  qd_var_info info;
  if (qd_variable_test(true, context.directory, context.file, context.variable) != found::yes ||
      !qd_info_var_name(context.directory, context.file, context.variable, info))
    return refuse("Not a valid Velmar variable: %s: %s/%s/%s", context.study, context.directory, context.file,
                  context.variable);
  if (info.type != VAR_CHAR)
    return refuse("Variable is not an Alphanumerical one: %s: %s/%s/%s", context.study, context.directory,
                  context.file, context.variable);
  if (!qd_var_as_line_name(context.directory, context.file, context.variable))
    return refuse("Error while modifying Variable into a line name: %s: %s/%s/%s", context.study,
                  context.directory, context.file, context.variable);
  return answer();
}

}  // namespace qrd
