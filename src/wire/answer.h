// How a request ends: refused, or answered with the name of its row and values.
#pragma once

#include <concepts>
#include <cstdint>

#include "util/qu_constants.h"
#include "util/qu_list.h"
#include "wire/arrays.h"
#include "wire/request_table.h"
#include "wire/values.h"

namespace qrd {

// What came of a request. A trace shows the number.
enum class [[nodiscard]] request_status{
    served = 0, not_served = -1, server_ends = 1,
    client_is_done = 2  // its socket is closed, and the next client is waited for
};
using enum request_status;

// What a refusal leaves to say: a handler that returns it has not served the request, a helper gives false.
struct [[nodiscard]] refused {
  operator request_status() const { return not_served; }  // NOLINT(google-explicit-constructor)
  template <std::same_as<bool> Bool>
  operator Bool() const {  // NOLINT(google-explicit-constructor)
    return false;
  }
};

// 0 if the name went into the write buffer, 1 if not.
int server_send_type(const char* name);
// Flushes: 0 or 1.
int server_send_end();
// SERROR with a text, cut to 1024 characters.
void server_send_error(const char* format, ...) __attribute__((format(printf, 1, 2)));
refused refuse(const char* format, ...) __attribute__((format(printf, 1, 2)));
// The same, once the rest of the packet has been dropped.
refused clean_and_refuse(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Values of an answer's body.
struct wire_int {
  std::int32_t value;
};
struct wire_bool {
  bool value;
};
struct wire_long {
  std::int64_t value;
};
struct wire_double {
  double value;
};
struct wire_string {
  const char* text;
  std::uint32_t limit = text_limit;
};
struct wire_ints {
  const std::int32_t* values;
  std::int64_t count;
};
struct wire_doubles {
  const double* values;
  std::int64_t count;
};
struct wire_kept_ints {
  const big_endian<std::int32_t>* values;
  std::int64_t count;
};
struct wire_kept_doubles {
  const big_endian<double>* values;
  std::int64_t count;
};
// Values that are made while they are sent (see piece_source).
template <typename Value>
struct wire_pieces {
  std::int64_t count;
  const piece_source<Value>& next;
};
using wire_double_pieces = wire_pieces<double>;
using wire_string_pieces = wire_pieces<const char*>;
using wire_byte_pieces = wire_pieces<unsigned char>;
struct wire_strings {
  const char* const* texts;
  std::int64_t count;
};
struct wire_bytes {
  const void* data;
  std::int64_t count;
};
// An int count and so many strings.
struct wire_names {
  const string_list& names;
};
bool write_value(wire_int value);
bool write_value(wire_bool value);
bool write_value(wire_long value);
bool write_value(wire_double value);
bool write_value(wire_string value);
bool write_value(wire_ints value);
bool write_value(wire_doubles value);
bool write_value(wire_kept_ints value);
bool write_value(wire_kept_doubles value);
bool write_value(wire_double_pieces value);
bool write_value(wire_string_pieces value);
bool write_value(wire_byte_pieces value);
bool write_value(wire_strings value);
bool write_value(wire_bytes value);
bool write_value(wire_names value);

// The request whose answers come next: its row gives their names.
void answer_by(const request_row& row);
// Only what an answer begins with. False if it did not go into the write buffer.
bool begin_answer();

// Sends the answer to the request: its name, its values, the flush. `write_values` gives false after a failed
// write.
template <typename Write>
request_status answer_with(const Write& write_values) {
  const bool sent = begin_answer() && write_values() && server_send_end() == 0;
  return sent ? served : not_served;
}

// The same with values that are always there.
template <typename... Values>
request_status answer(const Values&... values) {
  return answer_with([&] { return (write_value(values) && ...); });
}

// Sends the other answer of the row.
request_status answer_otherwise();

}  // namespace qrd
