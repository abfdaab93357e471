#include "wire/answer.h"

#include <cstdarg>

#include "wire/arrays.h"
#include "wire/buffer.h"
#include "wire/connection.h"
#include "wire/debug.h"
#include "wire/format_text.h"
#include "wire/send_or_receive.h"

namespace qrd {

namespace {

const request_row* answered = nullptr;

bool write_name(const char* name) {
  if (_qrd_write_string(connection.client_socket, &name, answer_name_limit) != 0) return true;
  std::perror("Client/Server communication error");
  return false;
}

void send_error(const char* format, va_list arguments) {
  // Takes no memory: a want of it is told here, too.
  char message[error_text_limit];
  format_field(message, sizeof message, format, arguments);
  server_debug(0, "Sending %s to client.", "SERROR");
  // In place of whatever the handler has begun.
  _qrd_empty_write();
  write_name("SERROR");
  const char* text = message;
  _qrd_write_string(connection.client_socket, &text, error_text_limit);
  _qrd_flush_write(connection.client_socket);
}

}  // namespace

int server_send_type(const char* name) {
  server_debug(1, "Sending %s to client.", name);
  return write_name(name) ? 0 : 1;
}

int server_send_end() {
  return _qrd_flush_write(connection.client_socket) != 0 ? 0 : 1;
}

void server_send_error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  send_error(format, arguments);
  va_end(arguments);
}

refused refuse(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  send_error(format, arguments);
  va_end(arguments);
  return {};
}

refused clean_and_refuse(const char* format, ...) {
  clean_packet();
  va_list arguments;
  va_start(arguments, format);
  send_error(format, arguments);
  va_end(arguments);
  return {};
}

void answer_by(const request_row& row) {
  answered = &row;
}

bool begin_answer() {
  return server_send_type(answered->answer) == 0;
}

request_status answer_otherwise() {
  return server_send_type(answered->other_answer) == 0 && server_send_end() == 0 ? served : not_served;
}

bool write_value(wire_int value) {
  return _qrd_write_int(connection.client_socket, &value.value) != 0;
}
bool write_value(wire_bool value) {
  const std::int32_t word = value.value;
  return _qrd_write_bool(connection.client_socket, &word) != 0;
}
bool write_value(wire_long value) {
  return _qrd_write_long(connection.client_socket, &value.value) != 0;
}
bool write_value(wire_double value) {
  return _qrd_write_double(connection.client_socket, &value.value) != 0;
}
bool write_value(wire_string value) {
  return _qrd_write_string(connection.client_socket, &value.text, value.limit) != 0;
}
bool write_value(wire_ints value) {
  return _qrd_write_int_array(connection.client_socket, value.values, value.count) != 0;
}
bool write_value(wire_doubles value) {
  return _qrd_write_double_array(connection.client_socket, value.values, value.count) != 0;
}
bool write_value(wire_kept_ints value) {
  return _qrd_write_kept_ints(connection.client_socket, value.values, value.count) != 0;
}
bool write_value(wire_kept_doubles value) {
  return _qrd_write_kept_doubles(connection.client_socket, value.values, value.count) != 0;
}
bool write_value(wire_double_pieces value) {
  return _qrd_write_double_pieces(connection.client_socket, value.count, value.next) != 0;
}
bool write_value(wire_string_pieces value) {
  return _qrd_write_string_pieces(connection.client_socket, value.count, value.next) != 0;
}
bool write_value(wire_byte_pieces value) {
  return _qrd_write_byte_pieces(connection.client_socket, value.count, value.next) != 0;
}
bool write_value(wire_strings value) {
  return _qrd_write_string_array(connection.client_socket, value.texts, value.count) != 0;
}
bool write_value(wire_bytes value) {
  return _qrd_write_bytes(connection.client_socket, value.data, value.count) != 0;
}
bool write_value(wire_names value) {
  std::int64_t count = value.names.count();
  return write_value(wire_int{static_cast<std::int32_t>(count)}) &&
         write_value(wire_strings{value.names.get(), count});
}

}  // namespace qrd
