// The files of the current directory: list, existence, choice.
#include <cstring>

#include "catalogue/qd_lists.h"
#include "catalogue/qd_lookup.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/name_list.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/connection.h"
#include "wire/debug.h"

namespace qrd {

namespace {

// 0 for a type that clients don't have.
std::int64_t organisation_of(std::int32_t type) {
  switch (type) {
    case -1:
      return ORG_ANY;
    case 0:
      return ORG_POINTS;
    case 1:
      return ORG_LINES_GRAVITY;
    case 2:
      return client_is(cores_client) ? ORG_LINES_CORES : ORG_GRID;
    case 3:
      return ORG_GRID;
    default:
      return 0;
  }
}

}  // namespace

// CFILELST: lists the files. CFILETLST: those of one type and dimension.
request_status server_answer_file_list(const char* request) {
  std::int64_t organisation = ORG_ANY;
  std::int64_t dimension = DIM_ANY;
  if (std::strcmp(request, "CFILETLST") == 0) {
    std::int32_t type = 0, wanted_dimension = 0;
    if (!read_arguments(type, wanted_dimension)) return not_served;
    organisation = organisation_of(type);
    if (organisation == 0) return refuse("Unknown file type (%d) for file", type);
    if (wanted_dimension != -1 && wanted_dimension != 2 && wanted_dimension != 3) {
      return refuse("Unknown file dimension (%d) for file", wanted_dimension);
    }
    if (wanted_dimension != -1) dimension = wanted_dimension;
  }
  const server_context& context = current_context;
  if (!is_set(context.directory)) return refuse("Directory is not set");
  string_list names;
  const found listed = qd_list_files(context.directory, organisation, dimension, names);
  if (listed == found::no)
    return refuse("Not a valid Velmar directory: %s: %s", context.study, context.directory);
  return answer_names(listed, names);
}

// CFILEXIST: tells whether a file exists.
request_status server_answer_file_exists(const char* /*request*/) {
  name_text name;
  if (!read_arguments(name)) return not_served;
  if (!is_set(current_context.directory)) return refuse("Directory is not set");
  return answer(wire_int{qd_file_test(ORG_ANY, DIM_ANY, current_context.directory, name) == found::yes});
}

// CFILESET: makes a file the current one.
request_status server_answer_file_set(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  const server_context& context = current_context;
  if (!is_set(context.directory)) return refuse("Directory is not set");
  if (qd_file_test(ORG_ANY, DIM_ANY, context.directory, name.c_str()) != found::yes) {
    return refuse("Not a valid Velmar file: %s: %s/%s", context.study, context.directory, name.c_str());
  }
  set_current_file(name.c_str());
  server_debug(1, "Setting File: \"%s\".", context.file);
  return answer();
}

}  // namespace qrd
