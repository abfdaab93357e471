#include "support/request_session.h"

#include "requests/context.h"
#include "requests/dispatch.h"
#include "support/test.h"
#include "wire/buffer.h"
#include "wire/connection.h"

namespace qrd::test {

request_session::request_session() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("socketpair");
  client_end_ = ends[0];
  connection.client_socket = ends[1];
  connection.client_version = protocol_version;
  connection.client_is_64bits = 1;
  reset_context();
  current_context.unit_mode = 0;
  _qrd_empty_read();
  _qrd_empty_write();
}

request_session::~request_session() {
  close(client_end_);
  close(static_cast<int>(connection.client_socket));
  connection.client_socket = no_socket;
}

std::string request_session::ask(const char* request, std::string_view arguments) {
  if (!arguments.empty() &&
      send(client_end_, arguments.data(), arguments.size(), 0) != static_cast<ssize_t>(arguments.size()))
    throw std::runtime_error("the arguments don't fit in the socket");
  status_ = static_cast<int>(server_answer(request));
  std::string reply;
  char block[4096];
  while (true) {
    ssize_t count = recv(client_end_, block, sizeof block, MSG_DONTWAIT);
    if (count <= 0) return reply;
    reply.append(block, static_cast<std::size_t>(count));
  }
}

std::string done() {
  return bytes("SDONE");
}

std::string refusal(std::string_view text) {
  return bytes("SERROR").text(text);
}

}  // namespace qrd::test
