// Typed values on the socket, through one buffer of 1024 bytes. Non-zero on success, 0 on failure.
//
//   int      4 bytes, big-endian two's complement
//   bool     an int, 0 or 1
//   long     8 bytes, or 4 when one side isn't 64-bit
//   double   8 bytes, big-endian binary64 (IEEE 754)
//   string   int length, the bytes, zero bytes up to a multiple of 4
//   bytes    the bare bytes
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "wire/connection.h"

namespace qrd {

// The limits of string arguments count the terminator.
inline constexpr std::uint32_t request_name_limit = 10;
inline constexpr std::uint32_t answer_name_limit = 11;
inline constexpr std::uint32_t error_text_limit = 1025;
inline constexpr std::uint32_t text_limit = 10000;
inline constexpr std::uint32_t unlimited_text = 4294967295U;

int _qrd_read_int(socket_handle socket, std::int32_t* value);
int _qrd_read_long(socket_handle socket, std::int64_t* value);
int _qrd_read_double(socket_handle socket, double* value);
// A null destination is allocated with malloc; any other holds at least `limit` bytes. A length of -1
// leaves the destination as it is.
int _qrd_read_string(socket_handle socket, char** text, std::uint32_t limit);
int _qrd_read_bytes(socket_handle socket, void* destination, std::int64_t count);

int _qrd_write_int(socket_handle socket, const std::int32_t* value);
int _qrd_write_long(socket_handle socket, const std::int64_t* value);
int _qrd_write_double(socket_handle socket, const double* value);
int _qrd_write_bool(socket_handle socket, const std::int32_t* value);
int _qrd_write_string(socket_handle socket, const char* const* text, std::uint32_t limit);
int _qrd_write_bytes(socket_handle socket, const void* source, std::int64_t count);

// Arrays have no count of their own. A trace shows the first ten values.
// While this lives, the array operations move the parts of one array of `count` values, which a trace shows
// as one. REQUIRES: nothing else is moved meanwhile, and only one lives.
class array_in_parts {
 public:
  explicit array_in_parts(std::int64_t count);
  array_in_parts(const array_in_parts&) = delete;
  array_in_parts& operator=(const array_in_parts&) = delete;
  ~array_in_parts();
};
// Calls the element operation for 0 to count - 1, and stops when one fails.
int _qrd_transfer_array(std::int64_t count, int (*element)(void* context, std::int64_t i), void* context);
int _qrd_read_double_array(socket_handle socket, double* values, std::int64_t count);
int _qrd_read_int_array(socket_handle socket, std::int32_t* values, std::int64_t count);
int _qrd_write_double_array(socket_handle socket, const double* values, std::int64_t count);
int _qrd_write_int_array(socket_handle socket, const std::int32_t* values, std::int64_t count);
int _qrd_write_string_array(socket_handle socket, const char* const* texts, std::int64_t count);

// An array of `count` doubles, given piece by piece. 0 also if the pieces end before it is complete.
int _qrd_write_double_pieces(socket_handle socket, std::int64_t count,
                             const std::function<std::span<const double>()>& next_piece);

int _qrd_flush_write(socket_handle socket);
void _qrd_empty_write();
// Forgets what was received and not read.
void _qrd_empty_read();

// Drops the rest of a packet: reads words until the client has been silent for half a second.
void clean_packet();
// 0 nothing came within 100 ms, 1 a request name is in the buffer, 2 the connection is broken.
int server_receive(char (&name)[request_name_limit]);

}  // namespace qrd
