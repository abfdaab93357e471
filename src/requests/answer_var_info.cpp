// CVARINFO: all that a client wants to know of the current variable.
#include <cstring>
#include <string>

#include "catalogue/qd_comment.h"
#include "catalogue/qd_info.h"
#include "disk/qd_macro_table.h"
#include "requests/context.h"
#include "requests/handlers.h"
#include "samples/qd_macro_indices.h"
#include "wire/answer.h"
#include "wire/connection.h"

namespace qrd {

namespace {

// What a client calls the type of a variable.
enum wire_type : std::int32_t {
  WIRE_FLOAT = 0,
  WIRE_CHAR = 1,
  WIRE_X = 2,
  WIRE_Y = 3,
  WIRE_Z = 4,
  WIRE_MACRO = 5
};

wire_type wire_type_of(const qd_var_info& info) {
  if (info.type == VAR_CHAR) return WIRE_CHAR;
  if (info.type == VAR_MACRO) return WIRE_MACRO;
  switch (info.kind) {
    case KIND_X:
      return WIRE_X;
    case KIND_Y:
      return WIRE_Y;
    case KIND_Z:
      return WIRE_Z;
    default:
      return WIRE_FLOAT;
  }
}

constexpr std::uint32_t comment_size = 500;
// Room of the unit texts of an old client.
constexpr std::uint32_t old_unit_size = 6;

struct unit_words {
  const char* name;
  const char* symbol;
};

// A length is shown in the unit of the variable or in that of the client.
unit_words units_of(const qd_format_record& format) {
  if (format.length_flag == 0) return {format.unit, format.unit};
  const bool own = current_context.unit_mode != 0;
  const char* name = qu_unit_name(own ? format.factor : units.distance.factor);
  if (own) return {name == nullptr ? format.unit : name, format.unit};
  return {name == nullptr ? "" : name, units.distance.unit};
}

// A text cut to what the client has room for.
bool write_cut(const char* text, std::uint32_t room) {
  const std::string cut(text, strnlen(text, room - 1));
  return write_value(wire_string{cut.c_str(), room});
}

bool write_comment() {
  if (!client_is(comment_client)) return true;
  std::string comment;
  // None is shown where none can be read.
  static_cast<void>(
      qd_comment_read(current_context.directory, current_context.file, current_context.variable, comment));
  return write_cut(comment.c_str(), comment_size);
}

}  // namespace

request_status server_answer_var_info(const char* /*request*/) {
  const server_context& context = current_context;
  if (!is_set(context.variable)) return refuse("Variable is not set");
  qd_var_info info;
  qd_variable_place place;
  if (qd_variable_query(false, context.directory, context.file, context.variable, info, nullptr, &place) !=
      found::yes) {
    return refuse("Cannot get variable info");
  }
  if (info.type < VAR_FLOAT || info.type > VAR_MACRO) {
    return refuse("Unknown type (%d) for variable", info.type);
  }
  const wire_type type = wire_type_of(info);
  std::int64_t indices = 0;
  if (type == WIRE_MACRO) {
    const auto numbers = qd_macro_indices(place, context.directory, context.file, context.variable, nullptr);
    if (!numbers) return refuse("Cannot get variable info");
    indices = static_cast<std::int64_t>(numbers->size());
  }
  const std::int64_t bits = type == WIRE_CHAR ? 0 : info.bit_length;
  const std::int64_t characters = type == WIRE_CHAR ? info.bit_length / 8 : 0;
  const unit_words words = units_of(info.format);

  return answer_with([&] {
    bool written = write_value(wire_int{type}) && write_value(wire_int{static_cast<std::int32_t>(bits)}) &&
                   write_value(wire_int{static_cast<std::int32_t>(characters)}) &&
                   write_value(wire_int{info.implicit != 0}) &&
                   write_value(wire_int{static_cast<std::int32_t>(indices)});
    if (client_is(old_client)) {
      written = written && write_cut(words.name, old_unit_size) && write_comment();
    } else {
      written = written && write_cut(words.name, unit_size) && write_comment() &&
                write_cut(words.symbol, unit_size) &&
                write_value(wire_int{static_cast<std::int32_t>(info.has_unit)});
    }
    return written;
  });
}

}  // namespace qrd
