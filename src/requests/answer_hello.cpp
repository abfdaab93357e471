// CHELLO: opens the conversation.
#include "requests/handlers.h"
#include "requests/open_root.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"
#include "wire/network.h"

namespace qrd {

namespace {

// The oldest clients name their database in CHELLO.
constexpr std::int32_t oldest_client = 100;
// Up to this version a client expects the version of the older protocol.
constexpr std::int32_t last_client_of_old_protocol = 400000;
constexpr std::int32_t old_protocol_version = 412;

}  // namespace

request_status server_answer_hello(const char* /*request*/) {
  connection.client_is_64bits = 0;
  request_text path;
  if (!read_arguments(path, connection.client_version)) return not_served;

  if (connection.client_version == oldest_client) {
    if (connection.multi_session != 0) {
      server_send_error("Cannot connect to a multi-session server");
      _qrd_close_socket(&connection.client_socket);
      return client_is_done;
    }
    if (!set_root(path.c_str())) return not_served;
  }
  server_debug(0, "Version checked (%d).", connection.client_version);
  bool is_old = connection.client_version <= last_client_of_old_protocol;
  return answer(wire_int{is_old ? old_protocol_version : protocol_version});
}

}  // namespace qrd
