// State of the process that all request handlers share: its sockets and what the client said of itself.
#pragma once

#include <cstdint>

#include "wire/client_versions.h"

namespace qrd {

using socket_handle = std::int64_t;
inline constexpr socket_handle no_socket = -1;

inline constexpr std::int32_t protocol_version = 1300030;
// What clients and databases know the server by. Nothing of it follows the version of the installed program.
inline constexpr char server_version[] = "15.03";
inline constexpr char server_release[] = "2015.3";
inline constexpr char server_program[] = "QRDserver";

// What carries the conversation with the client.
enum class carrier {
  tcp,
  stream_socket,  // any other stream socket, such as one of a UNIX pair
  pipes           // one for each direction
};

struct conversation {
  socket_handle listen_socket = no_socket;
  socket_handle client_socket = no_socket;
  carrier client_carrier = carrier::tcp;
  // Where answers leave, if it isn't client_socket: the second pipe.
  socket_handle answer_pipe = no_socket;
  // A call on the connection may neither block nor be woken by a shutdown: each is waited for.
  bool is_waited_for = false;
  // Seconds without a byte after which the conversation ends; 0: it never does. And whether it has come to
  // that.
  std::int32_t longest_silence = 0;
  bool is_silent = false;
  std::uint64_t bytes_in = 0;
  std::uint64_t bytes_out = 0;
  std::int32_t multi_session = 0;
  // Version of the client's protocol; several handlers choose older layouts by it.
  std::int32_t client_version = 0;
  std::int32_t request_count = 0;
  // `long` travels in 8 bytes when both are non-zero.
  std::int32_t client_is_64bits = 0;
  std::int32_t server_is_64bits = 1;
};

extern conversation connection;

inline bool client_is(const client_versions& clients) {
  return clients.include(connection.client_version);
}

}  // namespace qrd
