// CBYE BYE: ends the conversation.
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/network.h"

namespace qrd {

request_status server_answer_byebye(const char* /*request*/) {
  if (answer() != served) return not_served;
  if (connection.multi_session == 0) return server_ends;
  _qrd_close_socket(&connection.client_socket);
  return client_is_done;
}

}  // namespace qrd
