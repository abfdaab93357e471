// Listening, accepting, connecting and closing. All sockets are close-on-exec.
#pragma once

#include <cstdint>
#include <string>

#include "wire/connection.h"

namespace qrd {

// The socket layer needs no start on this platform: the two only keep its flag. 0.
int _qrd_network_start();
void _qrd_network_stop();

// Who shall reach a listening socket.
enum class listen_for {
  clients,      // QRD_LISTEN_ADDRESS (an IPv4 address), or 0.0.0.0 when it is unset
  own_children  // 127.0.0.1
};

// Port 0 is replaced by the one that the system chooses. 0 ok, 1 no socket, 2 bind failed, 3 listen
// failed, 4 port not known (the socket stays open).
int _qrd_listen_port(std::uint16_t* port, int backlog, socket_handle* socket,
                     listen_for whom = listen_for::clients);

// 0 ok, 1 nobody came within `seconds` (only if not blocking), -1 failure: the listening socket is closed.
// An error of one connection is no failure, nor is a want of descriptors or memory, which is waited out.
// The transfer buffer is empty for a new connection.
int _qrd_wait_connect(socket_handle listening, socket_handle* socket, int blocking, int seconds);

// The next connection of a listening socket, which is for another process: a request to end doesn't shut it
// down. no_socket if accepting is broken, or was given up for the end.
socket_handle accept_for_other(socket_handle listening);

// Makes open descriptors the client's connection; `answers` is the second of two pipes. The transfer buffer
// is empty then.
void take_connection(carrier kind, socket_handle client, socket_handle answers = no_socket);
// Who is at the other end: an address and its port, or what else is known.
std::string peer_name(socket_handle socket);

// Closes a socket that is open, and stores no_socket.
void _qrd_close_socket(socket_handle* socket);

// 0 ok, 1 name not resolved, 2 no socket, 3 connect failed. "localhost" is 127.0.0.1. Empties the write
// side of the transfer buffer.
int _qrd_connect(const char* host, std::uint16_t port, socket_handle* socket);

// Owns a socket for a scope.
class open_socket {
 public:
  open_socket() = default;
  open_socket(const open_socket&) = delete;
  open_socket& operator=(const open_socket&) = delete;
  ~open_socket() { close(); }
  socket_handle get() const { return handle_; }
  socket_handle* address() { return &handle_; }
  void close() {
    if (handle_ != no_socket) _qrd_close_socket(&handle_);
  }
  // For a socket that somebody else has closed.
  void forget() { handle_ = no_socket; }

 private:
  socket_handle handle_ = no_socket;
};

}  // namespace qrd
