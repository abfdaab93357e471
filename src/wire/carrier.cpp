#include "wire/carrier.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "wire/signals.h"

namespace qrd {

namespace {

using std::chrono::steady_clock;

// How often the end is looked for where no descriptor can tell of it.
constexpr int end_look = 100;  // ms

bool is_piped(socket_handle socket) {
  return socket == connection.client_socket && connection.client_carrier == carrier::pipes;
}
bool is_tcp(socket_handle socket) {
  return socket != connection.client_socket || connection.client_carrier == carrier::tcp;
}

// False on failure, after too long a silence, or when the process shall end: that shuts a socket down, which
// ends the wait for it.
bool wait_until(int descriptor, short events) {
  const bool needs_end = connection.client_carrier == carrier::pipes;
  const int end = needs_end ? end_descriptor() : -1;
  pollfd waiting[] = {{descriptor, events, 0}, {end, POLLIN, 0}};
  const auto limit = steady_clock::now() + std::chrono::seconds(connection.longest_silence);
  for (;;) {
    if (end_requested()) return false;
    int time = needs_end && end < 0 ? end_look : -1;
    if (connection.longest_silence != 0) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - steady_clock::now()).count();
      connection.is_silent = left <= 0;
      if (connection.is_silent) return false;
      time = static_cast<int>(time < 0 ? left : std::min<decltype(left)>(left, time));
    }
    const int ready = poll(waiting, 2, time);
    if (ready < 0 && errno != EINTR) return false;
    if (ready > 0 && waiting[0].revents != 0) return (waiting[0].revents & POLLNVAL) == 0;
  }
}

// Calls `carry` until it has carried something or fails for good.
template <typename Carry>
ssize_t carry_some(socket_handle socket, int descriptor, short events, const Carry& carry) {
  const bool is_clients = socket == connection.client_socket;
  const bool is_waited_for = is_clients && connection.is_waited_for;
  for (;;) {
    if (is_waited_for && !wait_until(descriptor, events)) return -1;
    const ssize_t size = carry();
    if (size >= 0) {
      if (is_clients) (events == POLLIN ? connection.bytes_in : connection.bytes_out) += std::uint64_t(size);
      return size;
    }
    const bool has_waited = errno == EAGAIN || errno == EWOULDBLOCK;
    if (has_waited && !is_waited_for) connection.is_silent = true;
    if (errno != EINTR && !(has_waited && is_waited_for)) return -1;
  }
}

// By one call of the system. A send that isn't whole is the last one.
ssize_t send_each(int descriptor, std::span<iovec> sends, int flags) {
  mmsghdr messages[most_sends] = {};
  const std::size_t count = std::min(sends.size(), most_sends);
  for (std::size_t i = 0; i < count; ++i) {
    messages[i].msg_hdr.msg_iov = &sends[i];
    messages[i].msg_hdr.msg_iovlen = 1;
  }
  const int sent = sendmmsg(descriptor, messages, static_cast<unsigned>(count), flags);
  if (sent < 0) return -1;
  ssize_t size = 0;
  for (int i = 0; i < sent; ++i) size += messages[i].msg_len;
  return size;
}

}  // namespace

ssize_t carry_in(socket_handle socket, char* data, std::size_t room) {
  const auto descriptor = static_cast<int>(socket);
  return carry_some(socket, descriptor, POLLIN, [&] {
    return is_piped(socket) ? read(descriptor, data, room) : recv(descriptor, data, room, 0);
  });
}

ssize_t carry_out(socket_handle socket, std::span<iovec> sends, bool more_follows) {
  const bool has_pipe = is_piped(socket);
  const auto descriptor = static_cast<int>(has_pipe ? connection.answer_pipe : socket);
  const int flags = MSG_NOSIGNAL | (more_follows && is_tcp(socket) ? MSG_MORE : 0);
  return carry_some(socket, descriptor, POLLOUT, [&] {
    if (has_pipe) return writev(descriptor, sends.data(), static_cast<int>(sends.size()));
    if (sends.size() > 1) return send_each(descriptor, sends, flags);
    return send(descriptor, sends.front().iov_base, sends.front().iov_len, flags);
  });
}

void carry_on(socket_handle socket) {
  // Held bytes leave when the option is set again.
  const int on = 1;
  if (is_tcp(socket)) setsockopt(static_cast<int>(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool wait_for_client() {
  return wait_until(static_cast<int>(connection.client_socket), POLLIN);
}

void limit_silence(std::int32_t seconds) {
  connection.longest_silence = seconds;
  if (connection.is_waited_for) return;
  const timeval limit = {seconds, 0};
  for (int direction : {SO_RCVTIMEO, SO_SNDTIMEO})
    setsockopt(static_cast<int>(connection.client_socket), SOL_SOCKET, direction, &limit, sizeof limit);
}

}  // namespace qrd
