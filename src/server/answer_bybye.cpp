// CBYE BYE: ends the conversation.
#include "server/answering.h"
#include "server/answers.h"
#include "server/network.h"

namespace qrd {

request_status server_answer_byebye(const char* /*request*/) {
  if (answer() != served) return not_served;
  if (multi_session == 0) return server_ends;
  _qrd_close_socket(&client_socket);
  return client_is_done;
}

}  // namespace qrd
