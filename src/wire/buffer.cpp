#include "wire/buffer.h"

#include <sys/uio.h>

#include <algorithm>
#include <cstring>

#include "wire/carrier.h"
#include "wire/trace.h"

namespace qrd {

namespace {

constexpr std::int32_t buffer_size = 1024;

// One array serves both directions: the conversation alternates strictly, and a write begins at offset 0
// whatever has been received and not read. Behind it is room for the sends that leave together with it.
char transfer_buffer[most_sends * buffer_size];
std::int32_t write_begin = 0;  // of the bytes that the next send takes
std::int32_t write_count = 0;
iovec gathered[most_sends];  // the sends before it
std::size_t gathered_count = 0;
bool is_gathering = false;
std::int32_t read_count = 0;  // end of the received bytes
std::int32_t read_pos = 0;    // the next unread byte
// The system may hold the last bytes sent back, waiting for more to fill a segment.
bool more_announced = false;

// Appends what arrives to the buffer; false if the connection is closed or broken.
bool receive_more(socket_handle socket) {
  const ssize_t received =
      carry_in(socket, transfer_buffer + read_count, static_cast<std::size_t>(buffer_size - read_count));
  if (received < 1) return false;
  read_count += static_cast<std::int32_t>(received);
  return true;
}

bool _qrd_fill_read(socket_handle socket, std::int32_t need) {
  if (tracing.level >= 5) _qrd_trace("Flushing Read buffer (%d bytes)", read_count);
  read_count -= read_pos;
  std::memmove(transfer_buffer, transfer_buffer + read_pos, static_cast<std::size_t>(read_count));
  read_pos = 0;
  while (read_count < need)
    if (!receive_more(socket)) return false;
  return true;
}

bool send_all(socket_handle socket, std::span<iovec> sends, bool more_follows) {
  while (!sends.empty()) {
    const ssize_t result = carry_out(socket, sends, more_follows);
    if (result < 0) return false;
    auto sent = static_cast<std::size_t>(result);
    for (; !sends.empty() && sent >= sends.front().iov_len; sends = sends.subspan(1))
      sent -= sends.front().iov_len;
    if (sends.empty()) break;
    sends.front().iov_base = static_cast<char*>(sends.front().iov_base) + sent;
    sends.front().iov_len -= sent;
  }
  return true;
}

// Sends what has been gathered. What is written behind it moves to the front.
bool send_gathered(socket_handle socket, bool more_follows) {
  if (gathered_count == 0) return true;
  const bool done = send_all(socket, {gathered, gathered_count}, more_follows);
  more_announced = more_follows;
  std::memmove(transfer_buffer, transfer_buffer + write_begin, static_cast<std::size_t>(write_count));
  write_begin = 0;
  gathered_count = 0;
  return done;
}

int flush(socket_handle socket, bool more_follows) {
  if (tracing.level >= 5) _qrd_trace("Flushing Write buffer (%d bytes)", write_count);
  bool done = true;
  if (write_count != 0) {
    gathered[gathered_count++] = {transfer_buffer + write_begin, static_cast<std::size_t>(write_count)};
    write_begin += write_count;
    write_count = 0;
  } else if (gathered_count == 0 && !more_follows && more_announced) {
    carry_on(socket);
    more_announced = false;
  }
  if (!is_gathering || gathered_count == most_sends) done = send_gathered(socket, more_follows);
  if (tracing.level >= 5) _qrd_trace("Emptying Write buffer");
  return done;
}

// The two rules of every write: a value that doesn't fit is preceded by a flush (_qrd_make_room), and a full
// buffer is flushed at once.
bool flush_if_full(socket_handle socket) {
  return write_count != buffer_size || flush(socket, true) != 0;
}

}  // namespace

const char* _qrd_take(socket_handle socket, std::int32_t size) {
  if (read_count - read_pos < size && !_qrd_fill_read(socket, size)) return nullptr;
  const char* bytes = transfer_buffer + read_pos;
  read_pos += size;
  return bytes;
}

bool _qrd_make_room(socket_handle socket, std::int64_t size) {
  return write_count + size <= buffer_size || flush(socket, true) != 0;
}

bool _qrd_store(socket_handle socket, const void* value, std::int32_t size) {
  if (!_qrd_make_room(socket, size)) return false;
  std::memcpy(transfer_buffer + write_begin + write_count, value, static_cast<std::size_t>(size));
  write_count += size;
  return flush_if_full(socket);
}

std::span<char> _qrd_room() {
  return {transfer_buffer + write_begin + write_count, static_cast<std::size_t>(buffer_size - write_count)};
}

bool _qrd_mark_written(socket_handle socket, std::int64_t size) {
  write_count += static_cast<std::int32_t>(size);
  return flush_if_full(socket);
}

gathered_sends::gathered_sends() {
  is_gathering = true;
}

gathered_sends::~gathered_sends() {
  is_gathering = false;
}

bool gathered_sends::finish(socket_handle socket) {
  return send_gathered(socket, true);
}

int _qrd_read_bytes(socket_handle socket, void* destination, std::int64_t count) {
  if (count < 0) return 0;
  auto* target = static_cast<char*>(destination);
  while (count > 0) {
    if (read_pos == read_count) {
      if (tracing.level >= 5) _qrd_trace("Flushing Read buffer (%d bytes)", read_count);
      _qrd_empty_read();
      // Whole buffers needn't go through it, and nobody can see how many of them one call takes.
      if (count >= buffer_size && tracing.level < 5) {
        const ssize_t received = carry_in(socket, target, static_cast<std::size_t>(count));
        if (received < 1) return 0;
        target += received;
        count -= received;
        continue;
      }
      if (!receive_more(socket)) return 0;
    }
    std::int64_t part = std::min<std::int64_t>(read_count - read_pos, count);
    std::memcpy(target, transfer_buffer + read_pos, static_cast<std::size_t>(part));
    read_pos += static_cast<std::int32_t>(part);
    target += part;
    count -= part;
  }
  return 1;
}

int _qrd_write_bytes(socket_handle socket, const void* source, std::int64_t count) {
  if (count == 0) return 1;
  if (count < 0 || socket == no_socket) return 0;
  // The first rule holds for the whole block, the second one for each of its bytes.
  if (!_qrd_make_room(socket, count)) return 0;
  const auto* bytes = static_cast<const char*>(source);
  while (count > 0) {
    std::int64_t part = std::min<std::int64_t>(buffer_size - write_count, count);
    std::memcpy(transfer_buffer + write_begin + write_count, bytes, static_cast<std::size_t>(part));
    write_count += static_cast<std::int32_t>(part);
    bytes += part;
    count -= part;
    if (!flush_if_full(socket)) return 0;
  }
  return 1;
}

int _qrd_flush_write(socket_handle socket) {
  return flush(socket, false);
}

void _qrd_empty_write() {
  gathered_count = 0;
  write_begin = 0;
  write_count = 0;
}

void _qrd_empty_read() {
  read_count = 0;
  read_pos = 0;
}

}  // namespace qrd
