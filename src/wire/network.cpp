#include "wire/network.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "wire/buffer.h"
#include "wire/debug.h"
#include "wire/messages.h"
#include "wire/signals.h"
#include "wire/trace.h"

namespace qrd {

namespace {

constexpr char any_address[] = "0.0.0.0";
constexpr char own_machine[] = "127.0.0.1";

constexpr int accept_pause = 100;  // ms

bool network_is_up = false;

// Null unless the operator has set it.
const char* wanted_address(listen_for whom) {
  return whom == listen_for::clients ? std::getenv("QRD_LISTEN_ADDRESS") : own_machine;
}

bool bind_to(int socket, const char* address_text, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  if (inet_pton(AF_INET, address_text, &address.sin_addr) != 1) {
    errno = EADDRNOTAVAIL;
    return false;
  }
  // A port whose last connections are still fading out can be bound again; two listeners still can't
  // share one.
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// A client that finds the queue full isn't refused on this platform: the system drops its calls without a
// word, and it tries again after seconds, then longer and longer. A server for many clients takes all the
// room there is, so that those who come at once wait only for their turn.
int queue_length(int backlog) {
  return backlog > 1 ? SOMAXCONN : backlog;
}

void set_connection_options(int socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
}

// The first IPv4 address of a host; 0 or the error of the look-up.
int resolve(const char* host, in_addr* address) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  int error = getaddrinfo(host, nullptr, &hints, &found);
  if (error == EAI_SYSTEM) return errno;
  if (error != 0) return error;
  *address = reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr;
  freeaddrinfo(found);
  return 0;
}

enum class accepting { again, later, broken };

// What a failed accept says: errors of the one connection are passed on with it, and are gone.
accepting after_error(int error) {
  switch (error) {
    case EINTR:
    case ECONNABORTED:
    case EPROTO:
    case ENOPROTOOPT:
    case ENETDOWN:
    case ENETUNREACH:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENONET:
    case EOPNOTSUPP:
    case ETIMEDOUT:
      return accepting::again;
    // Short of something that others give back; or a firewall refuses this peer, or all.
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
    case EPERM:
      return accepting::later;
    default:
      return accepting::broken;
  }
}

int accept_connection(int listening, sockaddr_in* peer) {
  for (bool is_told = false;;) {
    socklen_t size = sizeof *peer;
    int accepted = accept4(listening, reinterpret_cast<sockaddr*>(peer), &size, SOCK_CLOEXEC);
    if (accepted >= 0 || end_requested()) return accepted;
    const accepting next = after_error(errno);
    if (next == accepting::broken) return accepted;
    if (next == accepting::again) continue;
    if (!is_told) _qrd_error_system("accept() failed and is tried again");
    is_told = true;
    poll(nullptr, 0, accept_pause);
  }
}

}  // namespace

int _qrd_network_start() {
  network_is_up = true;
  return 0;
}

void _qrd_network_stop() {
  network_is_up = false;
}

int _qrd_listen_port(std::uint16_t* port, int backlog, socket_handle* socket, listen_for whom) {
  if (tracing.level >= 4)
    _qrd_trace("_qrd_listen_port(%p=%d,%d,%p)", static_cast<void*>(port), *port, backlog,
               static_cast<void*>(socket));
  *socket = no_socket;
  if (_qrd_network_start() != 0) return 1;
  int created = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (created < 0) {
    _qrd_error("Error during socket creation.");
    return 1;
  }
  *socket = created;
  const char* wanted = wanted_address(whom);
  const char* address = wanted != nullptr ? wanted : any_address;
  if (tracing.level >= 4) {
    _qrd_trace("Created Listening socket: %d", created);
    _qrd_trace("Binding socket to %s:%d", address, *port);
  }
  if (!bind_to(created, address, *port)) {
    const bool is_wrong_address = errno == EADDRNOTAVAIL;
    _qrd_error_socket("Cannot bind socket");
    if (is_wrong_address && wanted != nullptr && whom == listen_for::clients)
      _qrd_error("QRD_LISTEN_ADDRESS is \"%s\", which is not an IPv4 address of this machine.", wanted);
    _qrd_close_socket(socket);
    _qrd_network_stop();
    return 2;
  }
  if (tracing.level >= 4) _qrd_trace("Set socket to listen for %d connections", backlog);
  if (listen(created, queue_length(backlog)) != 0) {
    _qrd_error_socket("Cannot listen to socket");
    _qrd_close_socket(socket);
    _qrd_network_stop();
    return 3;
  }
  watch_socket(created);
  if (tracing.level >= 4) _qrd_trace("Socket listening.");
  if (*port != 0) return 0;

  sockaddr_in chosen{};
  socklen_t size = sizeof chosen;
  if (getsockname(created, reinterpret_cast<sockaddr*>(&chosen), &size) != 0) {
    _qrd_error("Cannot get new port.");
    return 4;
  }
  *port = ntohs(chosen.sin_port);
  _qrd_debug("New Socket Port: %d", *port);
  return 0;
}

int _qrd_wait_connect(socket_handle listening, socket_handle* socket, int blocking, int seconds) {
  if (tracing.level >= 4)
    _qrd_trace("_qrd_wait_connect(%d,%p,%d,%d)", static_cast<int>(listening), static_cast<void*>(socket),
               blocking, seconds);
  *socket = no_socket;
  _qrd_debug("Wait for connection...");
  auto handle = static_cast<int>(listening);
  if (blocking == 0) {
    pollfd waiting = {handle, POLLIN, 0};
    int ready = -1;
    do {
      ready = poll(&waiting, 1, std::clamp(seconds, 0, INT_MAX / 1000) * 1000);
    } while (ready < 0 && errno == EINTR);
    if (ready < 0) {
      _qrd_error_system("_qrd_wait_connect: select() failed.");
      return -1;
    }
    if (ready == 0) return 1;
  }
  sockaddr_in peer{};
  int accepted = accept_connection(handle, &peer);
  if (accepted < 0) {
    // Somebody who ends the process has no error to look for.
    if (!end_requested()) _qrd_error_socket("Call to accept() failed.\n");
    _qrd_close_socket(&listening);
    _qrd_network_stop();
    return -1;
  }
  *socket = accepted;
  watch_socket(accepted);
  set_connection_options(accepted);
  // What the last peer sent, or was to get, is none of this one's business.
  _qrd_empty_read();
  _qrd_empty_write();
  std::uint32_t address = ntohl(peer.sin_addr.s_addr);
  _qrd_debug("Get a client connection from %d.%d.%d.%d:%d.", address >> 24, address >> 16 & 255,
             address >> 8 & 255, address & 255, ntohs(peer.sin_port));
  return 0;
}

socket_handle accept_for_other(socket_handle listening) {
  sockaddr_in peer{};
  const int accepted = accept_connection(static_cast<int>(listening), &peer);
  if (accepted < 0 && !end_requested()) _qrd_error_socket("Call to accept() failed.\n");
  return accepted;
}

void take_connection(carrier kind, socket_handle client, socket_handle answers) {
  const auto descriptor = static_cast<int>(client);
  connection.client_socket = client;
  connection.answer_pipe = answers;
  connection.client_carrier = kind;
  connection.is_waited_for = kind == carrier::pipes || (fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
  watch_socket(client);
  if (kind == carrier::tcp) set_connection_options(descriptor);
  _qrd_empty_read();
  _qrd_empty_write();
}

std::string peer_name(socket_handle handle) {
  const auto socket = static_cast<int>(handle);
  sockaddr_storage peer{};
  socklen_t size = sizeof peer;
  if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0)
    return errno == ENOTSOCK ? "a client behind pipes" : "a client that is gone";
  char text[INET6_ADDRSTRLEN] = "";
  if (peer.ss_family == AF_INET) {
    const auto& address = reinterpret_cast<const sockaddr_in&>(peer);
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
  }
  if (peer.ss_family == AF_INET6) {
    const auto& address = reinterpret_cast<const sockaddr_in6&>(peer);
    inet_ntop(AF_INET6, &address.sin6_addr, text, sizeof text);
    return "[" + std::string(text) + "]:" + std::to_string(ntohs(address.sin6_port));
  }
  ucred process{};
  size = sizeof process;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &process, &size) != 0) return "a stream socket";
  return "process " + std::to_string(process.pid) + " of user " + std::to_string(process.uid);
}

void _qrd_close_socket(socket_handle* socket) {
  if (tracing.level >= 4)
    _qrd_trace("_qrd_close_socket(%p=%d)", static_cast<void*>(socket), static_cast<int>(*socket));
  if (*socket == no_socket) return;
  unwatch_socket(*socket);
  close(static_cast<int>(*socket));
  *socket = no_socket;
}

int _qrd_connect(const char* host, std::uint16_t port, socket_handle* socket) {
  if (tracing.level >= 4) _qrd_trace("_qrd_connect(%s,%d,%p)", host, port, static_cast<void*>(socket));
  *socket = no_socket;
  _qrd_empty_write();
  if (std::strcmp(host, "localhost") == 0) host = own_machine;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  if (int error = resolve(host, &address.sin_addr); error != 0) {
    errno = error;
    _qrd_error_socket("_qrd_connect(%s:%d), gethostbyname", host, port);
    return 1;
  }
  int created = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (created < 0) {
    _qrd_error("_qrd_connect(%s:%d), socket creation failed", host, port);
    return 2;
  }
  *socket = created;
  watch_socket(created);
  if (connect(created, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    _qrd_error_socket("_qrd_connect(%s:%d), connect", host, port);
    _qrd_close_socket(socket);
    return 3;
  }
  set_connection_options(created);
  return 0;
}

}  // namespace qrd
