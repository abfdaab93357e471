// The buffer of 1024 bytes between the socket and the values. Non-zero or true on success, 0 or false on
// failure.
#pragma once

#include <cstdint>
#include <span>

#include "wire/connection.h"

namespace qrd {

// The bare bytes.
int _qrd_read_bytes(socket_handle socket, void* destination, std::int64_t count);
int _qrd_write_bytes(socket_handle socket, const void* source, std::int64_t count);

int _qrd_flush_write(socket_handle socket);
void _qrd_empty_write();
// Forgets what was received and not read.
void _qrd_empty_read();

// What moves values reads and stores them in the buffer itself.
//
// The next `size` unread bytes, which are read with that, or null. REQUIRES: size <= 8.
const char* _qrd_take(socket_handle socket, std::int32_t size);
// One value, whole in one sending. REQUIRES: size <= 8.
bool _qrd_store(socket_handle socket, const void* value, std::int32_t size);
// Sends what the buffer holds if so many bytes more don't fit; a block is asked for as a whole.
bool _qrd_make_room(socket_handle socket, std::int64_t size);
// The free bytes, and that so many of them have been written now: a full buffer is sent at once.
std::span<char> _qrd_room();
bool _qrd_mark_written(socket_handle socket, std::int64_t size);

// While one lives, full buffers leave some at a time by one call of the system, each as a send of its own.
// finish() sends those that still wait; without it the next flush does.
class gathered_sends {
 public:
  gathered_sends();
  gathered_sends(const gathered_sends&) = delete;
  gathered_sends& operator=(const gathered_sends&) = delete;
  ~gathered_sends();
  [[nodiscard]] bool finish(socket_handle socket);
};

}  // namespace qrd
