// CQRDDATA: sets the database root.
#include "requests/handlers.h"
#include "requests/open_root.h"
#include "wire/answer.h"
#include "wire/arguments.h"

namespace qrd {

request_status server_answer_qrd_init(const char* /*request*/) {
  request_text path;
  if (!read_arguments(path)) return not_served;
  if (!set_root(path.c_str())) return not_served;
  return answer();
}

}  // namespace qrd
