// CQRDDATA: sets the database root.
#include <cstdio>
#include <cstring>

#include "requests/context.h"
#include "requests/handlers.h"
#include "requests/open_root.h"
#include "wire/answering.h"
#include "wire/debug.h"

namespace qrd {

bool set_root(const char* path) {
  char before[sizeof current_context.qrd_init];
  std::memcpy(before, current_context.qrd_init, sizeof before);
  server_debug(0, "Setting QRD_INIT path to \"%s\".", path);

  const char* message = "Cannot access directory";
  if (std::strlen(path) < sizeof current_context.qrd_init) {
    std::strcpy(current_context.qrd_init, path);
    message = qrd_open_root();
  }
  if (message == nullptr) return true;
  std::memcpy(current_context.qrd_init, before, sizeof before);
  server_send_error("QRD_INIT=%s: %s", path, message);
  return false;
}

request_status server_answer_qrd_init(const char* /*request*/) {
  request_text path;
  if (!read_arguments(path)) return not_served;
  if (!set_root(path.c_str())) return not_served;
  return answer();
}

}  // namespace qrd
