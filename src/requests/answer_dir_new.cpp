#include "catalogue/qd_lookup.h"
#include "edit/qd_manage.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

// CDIRNEW: makes a directory in the current study. It does not become the current one.
request_status server_answer_dir_new(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  if (!is_set(current_context.study)) return refuse("Study is not set");
  const found test = qd_directory_test(name.c_str());
  if (test == found::unclear) return refuse("Cannot open file");
  if (test == found::yes)
    return refuse("Directory %s: %s already exists", current_context.study, name.c_str());

  server_debug(1, "Creating Directory: \"%s\".", name.c_str());
  if (!qd_create_directory(name.c_str()))
    return refuse("Cannot create directory %s: %s", current_context.study, name.c_str());
  return answer();
}

}  // namespace qrd
