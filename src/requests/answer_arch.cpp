// CARCH: from here on `long` takes 8 bytes if both sides are 64-bit.
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

request_status st_answer_arch(const char* /*request*/) {
  server_debug(0, "Sending Architecture");
  if (!read_arguments(connection.client_is_64bits)) return not_served;
  return answer(wire_int{connection.server_is_64bits});
}

}  // namespace qrd
