#include "server/start_serving.h"

#include <unistd.h>

#include <cstdio>

#include "requests/context.h"
#include "util/qu_xdr.h"
#include "wire/buffer.h"
#include "wire/debug.h"
#include "wire/network.h"
#include "wire/sessions.h"
#include "wire/trace.h"
#include "wire/values.h"

namespace qrd {

namespace {

// Tells the program that started this one where to find it.
int report_port(std::uint16_t control_port, std::uint16_t port) {
  if (tracing.level >= 4) _qrd_trace("Connecting to client control port...");
  open_socket control;
  if (int status = _qrd_connect("localhost", control_port, control.address()); status != 0) return status;
  const std::int32_t word = port;
  bool done = _qrd_write_int(control.get(), &word) != 0 && _qrd_flush_write(control.get()) != 0;
  return done ? 0 : 1;
}

// 0 or 1.
int start_layers() {
  if (tracing.level >= 4) _qrd_trace("Initializing Windows Socket");
  if (_qrd_network_start() != 0) {
    server_debug(0, "Unable to initialize winsock.");
    return 1;
  }
  if (tracing.level >= 4) _qrd_trace("Initializing ONC/RPC");
  return 0;
}

int start_listening(std::uint16_t port, std::uint16_t control_port, socket_handle* listening) {
  if (start_layers() != 0) return 1;
  if (control_port != 0) port = 0;
  const int backlog = connection.multi_session != 0 ? 5 : 1;
  if (int status = _qrd_listen_port(&port, backlog, listening); status != 0) return status;
  if (control_port != 0)
    if (int status = report_port(control_port, port); status != 0) return status;
  return 0;
}

int start_serving(std::uint16_t port, std::uint16_t control_port, socket_handle* listening,
                  socket_handle* client) {
  if (int status = start_listening(port, control_port, listening); status != 0) return status;
  // The client of a session has been told where to come; a parent waits for whoever comes.
  const bool is_session = control_port != 0 && connection.multi_session == 0;
  const bool waits_for_ever = !is_session || allowed.connect_seconds == 0;
  const int seconds = waits_for_ever ? 0 : allowed.connect_seconds;
  const int status = _qrd_wait_connect(*listening, client, waits_for_ever ? 1 : 0, seconds);
  if (status == 1) std::printf("Session %d ends: its client has not come within %d s.\n", getpid(), seconds);
  if (status != 0) return status;
  if (connection.multi_session == 0) _qrd_close_socket(listening);
  reset_context();
  return 0;
}

}  // namespace

namespace {

template <typename Start>
int traced_init(std::uint16_t port, std::uint16_t control_port, socket_handle* listening,
                socket_handle* client, const Start& start) {
  if (tracing.level >= 1) {
    _qrd_trace_enter("server_init", 1);
    _qrd_trace("(%d,%d,%p,%p)", port, control_port, static_cast<void*>(listening),
               static_cast<void*>(client));
  }
  const int status = start();
  if (tracing.level >= 1) _qrd_trace_exit("%d", status);
  return status;
}

}  // namespace

int server_init(std::uint16_t port, std::uint16_t control_port, socket_handle* listening,
                socket_handle* client) {
  return traced_init(port, control_port, listening, client,
                     [&] { return start_serving(port, control_port, listening, client); });
}

int server_init_one_port(std::uint16_t port, std::uint16_t control_port, socket_handle* listening) {
  return traced_init(port, control_port, listening, nullptr,
                     [&] { return start_listening(port, control_port, listening); });
}

void server_init_inherited(const inherited_connection& inherited) {
  start_layers();
  take_connection(inherited.kind, inherited.client, inherited.answers);
  reset_context();
}

}  // namespace qrd
