// How the process reacts to signals.
//
// SIGTERM and SIGINT end it in good order from any state: the handler shuts the watched sockets down, so
// that a call that blocks on one returns, and so does any later one. A timer ends the process when it is
// still busy elsewhere (a long write to disk) shortly before two seconds have passed. A critical step
// (util/qu_critical.h) is waited for: the two seconds begin anew behind it, and half a minute ends it too.
#pragma once

#include <ctime>

#include "wire/connection.h"

namespace qrd {

struct end_limits {
  timespec longest_end = {1, 700'000'000};  // of an end in good order
  std::time_t longest_wait = 30;            // seconds from the signal to the end of waiting for steps
};

// Also makes the process ignore SIGPIPE and SIGXFSZ: the write that would raise them fails instead.
void install_signal_handlers(const end_limits& limits = {});
bool end_requested();

// From here on a request to end shuts the socket down; at once if it has come already.
void watch_socket(socket_handle socket);
// REQUIRES: called before the socket is closed.
void unwatch_socket(socket_handle socket);
// Polls readable from the request to end on, for a wait on what can't be shut down; made when it is first
// asked for. -1 if the system can't give one.
int end_descriptor();

}  // namespace qrd
