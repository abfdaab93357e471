// The directories of the current study: list, existence, choice.
#include "catalogue/qd_lists.h"
#include "catalogue/qd_lookup.h"
#include "disk/qu_study_descriptor.h"
#include "disk/store_state.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/name_list.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

// CDIRLST: lists the directories.
request_status server_answer_dir_list(const char* /*request*/) {
  if (!is_set(current_context.study)) return refuse("Study is not set");
  string_list names;
  const found listed = qd_list_directories(names);
  if (listed == found::no)
    return refuse("Study Directory not found or not a study: \"%s\"", store.study_path);
  return answer_names(listed, names);
}

// CDIRXIST: tells whether a directory exists.
request_status server_answer_dir_exists(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!is_set(current_context.study)) return refuse("Study is not set");
  return answer(wire_int{qd_directory_test(name) == found::yes});
}

// CDIRSET: makes a directory the current one.
request_status server_answer_dir_set(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  if (!is_set(current_context.study)) return refuse("Study is not set");
  if (qd_directory_test(name.c_str()) != found::yes) {
    return refuse("Not a valid Velmar directory: %s: %s", current_context.study, name.c_str());
  }
  set_current_directory(name.c_str());
  server_debug(1, "Setting Directory: \"%s\".", current_context.directory);
  return answer();
}

}  // namespace qrd
