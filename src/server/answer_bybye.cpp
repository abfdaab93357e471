// CBYE BYE: ends the conversation.
#include "server/answering.h"
#include "server/answers.h"
#include "server/network.h"

namespace qrd {

int server_answer_byebye(const char* /*request*/) {
  if (answer("SBYE BYE") != 0) return -1;
  if (multi_session == 0) return 1;
  _qrd_close_socket(&client_socket);
  return 2;
}

}  // namespace qrd
