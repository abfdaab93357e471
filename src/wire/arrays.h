// Arrays of values on the socket. They have no count of their own. A trace shows the first ten values.
// Non-zero on success, 0 on failure.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "util/qu_big_endian.h"
#include "wire/connection.h"

namespace qrd {

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
// The same with numbers that are kept in the order of the wire.
int _qrd_read_kept_doubles(socket_handle socket, big_endian<double>* values, std::int64_t count);
int _qrd_read_kept_ints(socket_handle socket, big_endian<std::int32_t>* values, std::int64_t count);
int _qrd_write_kept_doubles(socket_handle socket, const big_endian<double>* values, std::int64_t count);
int _qrd_write_kept_ints(socket_handle socket, const big_endian<std::int32_t>* values, std::int64_t count);
int _qrd_write_string_array(socket_handle socket, const char* const* texts, std::int64_t count);

// Gives the next values of an array each time it is called; they hold until the next call.
template <typename Value>
using piece_source = std::function<std::span<const Value>()>;

// An array of `count` values, given piece by piece. 0 also if the pieces end before it is complete.
int _qrd_write_double_pieces(socket_handle socket, std::int64_t count, const piece_source<double>& next);
int _qrd_write_string_pieces(socket_handle socket, std::int64_t count, const piece_source<const char*>& next);
int _qrd_write_byte_pieces(socket_handle socket, std::int64_t count, const piece_source<unsigned char>& next);

}  // namespace qrd
