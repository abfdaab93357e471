// Typed values on the socket. Non-zero on success, 0 on failure.
//
//   int      4 bytes, big-endian two's complement
//   bool     an int, 0 or 1
//   long     8 bytes, or 4 when one side isn't 64-bit
//   double   8 bytes, big-endian binary64 (IEEE 754)
//   string   int length, the bytes, zero bytes up to a multiple of 4
#pragma once

#include <cstdint>
#include <new>

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
// What a text that has no memory ends in: behind it stands the rest of a packet that nobody has read.
struct text_without_memory : std::bad_alloc {};
// A null destination is allocated with malloc, which may end in text_without_memory; any other holds at least
// `limit` bytes. A length of -1 leaves the destination as it is.
int _qrd_read_string(socket_handle socket, char** text, std::uint32_t limit);

int _qrd_write_int(socket_handle socket, const std::int32_t* value);
int _qrd_write_long(socket_handle socket, const std::int64_t* value);
int _qrd_write_double(socket_handle socket, const double* value);
int _qrd_write_bool(socket_handle socket, const std::int32_t* value);
int _qrd_write_string(socket_handle socket, const char* const* text, std::uint32_t limit);

// Whether a trace shows each value that is moved now.
bool values_are_traced();
// While this lives, it doesn't.
class quiet_scope {
 public:
  quiet_scope();
  quiet_scope(const quiet_scope&) = delete;
  quiet_scope& operator=(const quiet_scope&) = delete;
  ~quiet_scope();

 private:
  int before_;
};

}  // namespace qrd
