#include <cstring>

#include "catalogue/qd_study_lock.h"
#include "catalogue/qu_study.h"
#include "disk/qu_study_descriptor.h"
#include "disk/qu_study_names.h"
#include "disk/store_state.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "samples/qd_study_session.h"
#include "units/qu_units.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

// CSTUDYSET: opens a study and makes it the current one.
request_status server_answer_study_set(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  if (!is_set(current_context.qrd_init)) return refuse("QRD_INIT is not set");

  string_list valid_names, valid_paths, all_names, all_paths;
  if (!qu_study_names_read(-1, false, false, &valid_names, &valid_paths, &all_names, &all_paths))
    return refuse("%s", no_registry_text);
  std::int64_t rank = all_names.find(name.c_str());
  if (rank < 0) return refuse("Study Unknown: \"%s\"", name.c_str());
  std::int64_t valid_rank = valid_names.find(name.c_str());
  if (valid_rank < 0) return refuse("Study Directory not found or not a study: \"%s\"", all_paths[rank]);
  study_record record;
  if (qu_study_descriptor_read(true, name.c_str(), valid_paths[valid_rank], &record) != study_fitness::usable)
    return refuse("Invalid Study version: \"%s\"", name.c_str());

  name_text wanted;
  qu_string_copy(name.c_str(), wanted);
  const open_store before;
  if (qu_study_open(wanted) != study_opening::opened)
    return refuse("Invalid Study version: \"%s\"", name.c_str());
  // The first one that fits stands in for a study that another server deletes at this moment.
  if (std::strcmp(store.study_name, wanted) != 0) {
    before.put_back();
    return refuse("Study Directory not found or not a study: \"%s\"", all_paths[rank]);
  }
  set_current_study(wanted);
  server_debug(1, "Setting Study: \"%s\".", current_context.study);
  qd_end(0);
  qd_init();
  qu_formats_reset();
  current_context.unit_mode = 0;
  return answer();
}

}  // namespace qrd
