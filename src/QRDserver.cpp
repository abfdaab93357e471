// The server process: its start, its main loop and its end.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "requests/dispatch.h"
#include "server/api_get_default_port.h"
#include "server/close.h"
#include "server/inherited.h"
#include "server/one_port.h"
#include "server/options.h"
#include "server/session_report.h"
#include "server/start_serving.h"
#include "wire/carrier.h"
#include "wire/connection.h"
#include "wire/exec_server.h"
#include "wire/messages.h"
#include "wire/network.h"
#include "wire/send_or_receive.h"
#include "wire/sessions.h"
#include "wire/signals.h"
#include "wire/trace.h"

namespace {

using namespace qrd;

// A standard stream that the starter has closed must not become a socket: prints would go to a client.
void open_standard_streams() {
  for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDWR);
}

void announce(const char* program, bool to_console) {
  if (to_console) std::printf("%s %s (%s)\n", program, server_version, server_release);
  if (tracing.level < 1) return;
  _qrd_trace("Running %s %s (%s)", program, server_release, server_version);
  _qrd_trace("Protocol Version: %d", protocol_version);
  _qrd_trace("Arguments:");
}

// Starts a copy of this process without -fork, whose standard streams stay with the starter. The exit status,
// which says the opposite of what one expects: callers have learned not to rely on it.
int start_detached(int argument_count, char** arguments) {
  std::vector<const char*> kept;
  for (int i = 0; i < argument_count; ++i)
    if (std::strcmp(arguments[i], "-fork") != 0) kept.push_back(arguments[i]);
  kept.push_back(nullptr);
  return _qrd_exec_server(nullptr, kept.data(), nullptr, child_streams::none) == 0 ? 0 : 1;
}

// The exit status.
int serve() {
  for (;;) {
    char request[request_name_limit];
    int received = server_receive(request);
    // A client that takes its time shall cost none: ten looks a second are many for a thousand of them.
    if (received == 2 || (received == 0 && !wait_for_client())) return 1;
    if (received == 0) continue;
    switch (server_answer(request)) {
      case server_ends:
        return 0;
      case client_is_done:
        if (_qrd_wait_connect(connection.listen_socket, &connection.client_socket, 1, 0) != 0) return 1;
        break;
      case served:
      case not_served:
        break;
    }
  }
}

// Whether there is a client, or with -oneport a port for all of them.
bool find_client(const server_options& options, const inherited_connection& inherited) {
  if (!options.inetd) {
    const bool is_told = options.port != 0 || options.control_port != 0;
    const std::uint16_t port = is_told ? options.port : QRDClientGetDefaultPort();
    socket_handle* listening = &connection.listen_socket;
    if (options.one_port) return server_init_one_port(port, options.control_port, listening) == 0;
    return server_init(port, options.control_port, listening, &connection.client_socket) == 0;
  }
  if (!inherited.problem.empty()) _qrd_error("%s", inherited.problem.c_str());
  if (inherited.client == no_socket) return false;
  server_init_inherited(inherited);
  return true;
}

// The exit status.
int serve_as(const server_options& options) {
  if (options.one_port) {
    serve_one_port(options);
    return 1;
  }
  // A multi-session parent has no end of its own to look for.
  if (connection.multi_session != 0) return serve();
  limit_silence(allowed.silent_seconds);
  if (options.inetd || allowed.silent_seconds != 0) report_session(options.quiet || !options.inetd);
  const int status = serve();
  note_session_end(status == 0            ? session_end::goodbye
                   : end_requested()      ? session_end::asked
                   : connection.is_silent ? session_end::silent
                                          : session_end::broken);
  return status;
}

int run(int argument_count, char** arguments) {
  open_standard_streams();
  const bool is_inetd = is_started_with_connection(argument_count, arguments);
  inherited_connection inherited;
  if (is_inetd) inherited = take_inherited_connection();
  // A service's log shows each line when it is written.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  struct sigaction starters {};
  sigaction(SIGINT, nullptr, &starters);
  install_signal_handlers();
  // Who keeps Ctrl-C from the session has something to put in order through it first.
  if (is_inetd && starters.sa_handler == SIG_IGN) std::signal(SIGINT, SIG_IGN);
  _qrd_trace_init();
  announce(arguments[0], !is_inetd);

  server_options options;
  if (auto exit_status = read_options(argument_count, arguments, options)) return *exit_status;
  if (!read_session_limits()) return 1;
  // For the sessions: nobody else waits for a client that may never come.
  if (connection.multi_session != 0) setenv("QRD_CONNECT_TIMEOUT", "60", 0);
  if (options.fork) return start_detached(argument_count, arguments);

  if (!find_client(options, inherited)) {
    if (!end_requested()) _qrd_error("Cannot initialize server.");
    return 1;
  }
  const int status = serve_as(options);
  server_close();
  return end_requested() ? 1 : status;
}

}  // namespace

// What finds no memory outside of a request, at the start or between two of them, ends the process as an
// error.
int main(int argument_count, char** arguments) {
  try {
    return run(argument_count, arguments);
  } catch (const std::bad_alloc&) {
    std::fputs("QRDserver ERROR: There is not enough memory\n", stderr);
    return 1;
  }
}
