// CNEWSESS: a multi-session server starts a process for the client, which reports its port here.
#include <poll.h>

#include <cerrno>
#include <string>
#include <vector>

#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/buffer.h"
#include "wire/console.h"
#include "wire/exec_server.h"
#include "wire/network.h"
#include "wire/sessions.h"
#include "wire/signals.h"

namespace qrd {

namespace {

// Newer clients all behave alike at the start of a session; a child learns of older ones.
constexpr std::int32_t first_uniform_client = 900040;

std::int32_t start_child(std::uint16_t control_port, child_watch& child) {
  std::vector<std::string> words = {server_program, "-control", std::to_string(control_port)};
  if (connection.client_version < first_uniform_client) {
    words.emplace_back("-client_version");
    words.push_back(std::to_string(connection.client_version));
  }
  if (console.debug) words.emplace_back("-debug");

  std::vector<const char*> arguments;
  for (const std::string& word : words) arguments.push_back(word.c_str());
  arguments.push_back(nullptr);
  return _qrd_exec_server(nullptr, arguments.data(), &child);
}

// Waits until the child calls; false if it ended without having done so, or if this process shall end.
bool wait_for_call(socket_handle control, const child_watch& child) {
  pollfd waiting[] = {{static_cast<int>(control), POLLIN, 0}, {child.descriptor(), POLLIN, 0}};
  for (;;) {
    int ready = poll(waiting, 2, -1);
    if (ready < 0 && errno != EINTR) return false;
    if (end_requested()) return false;
    if (ready > 0) return (waiting[0].revents & POLLIN) != 0;
  }
}

// A child that is being started. What it took to talk to it is closed with this, after its client has the
// answer.
class new_child {
 public:
  // The port on which it listens; 0 if it can't be had.
  std::int32_t port() {
    std::uint16_t control_port = 0;
    if (_qrd_listen_port(&control_port, 1, listening_.address(), listen_for::own_children) != 0) return 0;
    const std::int32_t process = start_child(control_port, watch_);
    if (process < 0) return 0;
    if (allowed.sessions != 0 || allowed.sessions_per_address != 0)
      sessions.add(process, peer_name(connection.client_socket));
    if (!wait_for_call(listening_.get(), watch_)) return 0;

    if (_qrd_wait_connect(listening_.get(), control_.address(), 1, 0) != 0) {
      listening_.forget();
      return 0;
    }
    std::int32_t port = 0;
    if (_qrd_read_int(control_.get(), &port) == 0) port = 0;
    // The read side serves the client as well: a broken call must leave nothing in the client's stream.
    _qrd_empty_read();
    return port;
  }

 private:
  open_socket listening_;
  open_socket control_;
  child_watch watch_;
};

}  // namespace

request_status server_answer_session(const char* /*request*/) {
  if (connection.multi_session == 0) return answer_otherwise();
  sessions.remove_ended();
  if (!sessions.has_room(peer_name(connection.client_socket))) {
    _qrd_close_socket(&connection.client_socket);
    return client_is_done;
  }
  new_child child;
  const std::int32_t port = child.port();
  if (port == 0) return not_served;
  if (answer(wire_int{port}) != served) return not_served;
  _qrd_close_socket(&connection.client_socket);
  return client_is_done;
}

}  // namespace qrd
