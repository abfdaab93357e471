#include "wire/values.h"

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "util/qu_big_endian.h"
#include "wire/buffer.h"
#include "wire/messages.h"
#include "wire/trace.h"

namespace qrd {

namespace {

constexpr std::int32_t word_size = 4;
// An unlimited string takes its memory in steps, the first of this size, as its characters arrive.
constexpr std::uint32_t first_string_step = 64 * 1024;

int quiet_values = 0;

// Reads a string of unknown size into memory that grows with what has arrived.
char* read_growing(socket_handle socket, std::uint32_t length) {
  char* text = nullptr;
  std::uint64_t room = std::min<std::uint64_t>(std::uint64_t{length} + 1, first_string_step);
  for (std::uint64_t done = 0;;) {
    auto* grown = static_cast<char*>(std::realloc(text, room));
    if (grown == nullptr) {
      std::free(text);
      _qrd_error("_qrd_read_string(): Cannot allocate memory");
      throw text_without_memory();
    }
    text = grown;
    std::uint64_t wanted = std::min<std::uint64_t>(room, length) - done;
    if (_qrd_read_bytes(socket, text + done, static_cast<std::int64_t>(wanted)) == 0) break;
    done += wanted;
    if (done == length && room > length) {
      text[length] = '\0';
      return text;
    }
    room = std::min(2 * room, std::uint64_t{length} + 1);
  }
  std::free(text);
  return nullptr;
}

// Zero bytes that bring a string to a multiple of 4.
std::int64_t padding(std::uint32_t length) {
  return (word_size - length % word_size) % word_size;
}

}  // namespace

bool values_are_traced() {
  return quiet_values == 0 && tracing.level >= 3;
}

quiet_scope::quiet_scope() : before_(quiet_values) {
  quiet_values = 1;
}
quiet_scope::~quiet_scope() {
  quiet_values = before_;
}

int _qrd_read_int(socket_handle socket, std::int32_t* value) {
  const char* bytes = _qrd_take(socket, word_size);
  if (bytes == nullptr) return 0;
  qu_big_endian_copy<std::uint32_t>(value, bytes, 1);
  if (values_are_traced()) _qrd_trace("Read Int(%d)", *value);
  return 1;
}

int _qrd_read_long(socket_handle socket, std::int64_t* value) {
  bool is_wide = connection.client_is_64bits != 0 && connection.server_is_64bits != 0;
  const char* bytes = _qrd_take(socket, is_wide ? 8 : word_size);
  if (bytes == nullptr) return 0;
  if (is_wide) {
    qu_big_endian_copy<std::uint64_t>(value, bytes, 1);
  } else {
    std::int32_t word = 0;
    qu_big_endian_copy<std::uint32_t>(&word, bytes, 1);
    *value = word;
  }
  if (values_are_traced())
    _qrd_trace(is_wide ? "Read Long(64bits)(%" PRId64 ")" : "Read Long(32->64bits)(%" PRId64 ")", *value);
  return 1;
}

int _qrd_read_double(socket_handle socket, double* value) {
  {
    quiet_scope quiet;
    std::int32_t high = 0, low = 0;
    if (_qrd_read_int(socket, &high) == 0 || _qrd_read_int(socket, &low) == 0) return 0;
    *value = std::bit_cast<double>(std::uint64_t{static_cast<std::uint32_t>(high)} << 32 |
                                   static_cast<std::uint32_t>(low));
  }
  if (values_are_traced()) _qrd_trace("Read Dbl(%g)", *value);
  return 1;
}

int _qrd_read_string(socket_handle socket, char** text, std::uint32_t limit) {
  std::uint32_t length = 0;
  {
    quiet_scope quiet;
    std::int32_t word = 0;
    if (_qrd_read_int(socket, &word) == 0) return 0;
    length = static_cast<std::uint32_t>(word);
  }
  std::uint32_t size = length + 1;
  if (size > limit) return 0;
  if (size == 0) return 1;
  if (*text == nullptr) {
    *text = read_growing(socket, length);
    if (*text == nullptr) return 0;
  } else {
    (*text)[length] = '\0';
    if (_qrd_read_bytes(socket, *text, length) == 0) return 0;
  }
  char unused_padding[word_size];
  if (_qrd_read_bytes(socket, unused_padding, padding(length)) == 0) return 0;
  if (values_are_traced()) _qrd_trace("Read Str(%s)", *text);
  return 1;
}

int _qrd_write_int(socket_handle socket, const std::int32_t* value) {
  if (values_are_traced()) _qrd_trace("Write Int(%d)", *value);
  if (socket == no_socket) return 0;
  char bytes[word_size];
  qu_big_endian_copy<std::uint32_t>(bytes, value, 1);
  return _qrd_store(socket, bytes, word_size);
}

int _qrd_write_long(socket_handle socket, const std::int64_t* value) {
  bool is_wide = connection.client_is_64bits != 0 && connection.server_is_64bits != 0;
  if (values_are_traced())
    _qrd_trace(is_wide ? "Write Long(64bits)(%" PRId64 ")" : "Write Long(64->32bits)(%" PRId64 ")", *value);
  if (socket == no_socket) return 0;
  char bytes[8];
  if (is_wide) {
    qu_big_endian_copy<std::uint64_t>(bytes, value, 1);
    return _qrd_store(socket, bytes, 8);
  }
  using word_limits = std::numeric_limits<std::int32_t>;
  if (*value > word_limits::max() || *value < word_limits::min()) {
    _qrd_error("_qrd_write_long(): Server & Client are not both 64 bits");
    return 0;
  }
  const auto word = static_cast<std::int32_t>(*value);
  qu_big_endian_copy<std::uint32_t>(bytes, &word, 1);
  return _qrd_store(socket, bytes, word_size);
}

int _qrd_write_double(socket_handle socket, const double* value) {
  if (values_are_traced()) _qrd_trace("Write Dbl(%g)", *value);
  quiet_scope quiet;
  auto image = std::bit_cast<std::uint64_t>(*value);
  auto high = static_cast<std::int32_t>(image >> 32);
  auto low = static_cast<std::int32_t>(image & 0xFFFFFFFF);
  return _qrd_write_int(socket, &high) != 0 && _qrd_write_int(socket, &low) != 0;
}

int _qrd_write_bool(socket_handle socket, const std::int32_t* value) {
  const std::int32_t word = *value != 0;
  return _qrd_write_int(socket, &word);
}

int _qrd_write_string(socket_handle socket, const char* const* text, std::uint32_t limit) {
  if (values_are_traced()) _qrd_trace("Write Str(%s)", *text);
  std::size_t length = std::strlen(*text);
  if (length > std::size_t{std::numeric_limits<std::int32_t>::max()}) return 0;
  {
    quiet_scope quiet;
    auto word = static_cast<std::int32_t>(length);
    if (_qrd_write_int(socket, &word) == 0) return 0;
  }
  // Only now: clients of an over-long text have always got its length.
  if (length + 1 > limit) return 0;
  constexpr char zeros[word_size] = {};
  return _qrd_write_bytes(socket, *text, static_cast<std::int64_t>(length)) != 0 &&
         _qrd_write_bytes(socket, zeros, padding(static_cast<std::uint32_t>(length))) != 0;
}

}  // namespace qrd
