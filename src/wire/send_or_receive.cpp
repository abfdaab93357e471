#include "wire/send_or_receive.h"

#include <poll.h>

#include <cerrno>

#include "wire/connection.h"
#include "wire/debug.h"
#include "wire/values.h"

namespace qrd {

namespace {

constexpr int request_poll = 100;    // ms
constexpr int packet_silence = 500;  // ms

// Positive if the client's socket is readable, 0 if not within the time, negative on failure. Only the
// socket counts, not what the read side still holds.
int wait_readable(int milliseconds) {
  pollfd waiting = {static_cast<int>(connection.client_socket), POLLIN, 0};
  if (connection.client_socket == no_socket) return -1;
  int ready = -1;
  do {
    ready = poll(&waiting, 1, milliseconds);
  } while (ready < 0 && errno == EINTR);
  return (waiting.revents & POLLNVAL) != 0 ? -1 : ready;
}

}  // namespace

int server_receive(char (&name)[request_name_limit]) {
  if (connection.is_silent) return 2;
  int ready = wait_readable(request_poll);
  if (ready < 0) {
    server_debug(0, "server_send_or_receive: select() failed.");
    return 2;
  }
  if (ready == 0) return 0;
  name[0] = '\0';
  char* text = name;
  if (_qrd_read_string(connection.client_socket, &text, request_name_limit) == 0) {
    server_debug(0, "server_receive: An error occured during reading.");
    return 2;
  }
  server_debug(0, "%s", "");
  ++connection.request_count;
  server_debug(1, "Received [%03d] [type=%-10s]", connection.request_count, name);
  return 1;
}

void clean_packet() {
  int cleaned = 0;
  for (;;) {
    int ready = wait_readable(packet_silence);
    if (ready < 0) {
      server_debug(0, "clean_packet: select() failed.");
      return;
    }
    std::int32_t word = 0;
    if (ready == 0 || _qrd_read_int(connection.client_socket, &word) == 0) break;
    ++cleaned;
  }
  server_debug(0, "Cleaned %d words on the socket.", cleaned);
}

}  // namespace qrd
