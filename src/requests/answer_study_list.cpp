#include "disk/qu_study_names.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "wire/answer.h"

namespace qrd {

// CSTUDYLST: lists the studies. The first of the registry stays first, the others are in byte order.
request_status server_answer_study_list(const char* /*request*/) {
  if (!is_set(current_context.qrd_init)) return refuse("QRD_INIT is not defined");
  string_list names;
  if (!qu_study_names_read(-1, true, false, &names, nullptr, nullptr, nullptr))
    return refuse("%s", no_registry_text);
  return answer(wire_names{names});
}

}  // namespace qrd
