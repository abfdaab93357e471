// The bytes of a connection, whatever carries it.
#pragma once

#include <sys/types.h>
#include <sys/uio.h>

#include <cstddef>
#include <span>

#include "wire/connection.h"

namespace qrd {

// What arrives next: its size, 0 at the end of the connection, -1 on failure.
ssize_t carry_in(socket_handle socket, char* data, std::size_t room);
// What leaves by one call.
inline constexpr std::size_t most_sends = 16;
// The size of what has left of the sends, in their order, or -1. With `more_follows` the system may wait for
// that.
ssize_t carry_out(socket_handle socket, std::span<iovec> sends, bool more_follows);
// Lets go of what the system holds back for more.
void carry_on(socket_handle socket);

// Sleeps until the client's connection can be read or is broken; false when it has been silent for too long,
// or when the process shall end.
bool wait_for_client();
// Every wait for the client fails from here on that takes longer; 0 seconds: none does.
void limit_silence(std::int32_t seconds);

}  // namespace qrd
