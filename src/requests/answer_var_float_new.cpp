// Creation of numeric variables.
#include <cstring>

#include "disk/qd_data_file.h"
#include "disk/qd_records.h"
#include "requests/handlers.h"
#include "requests/variable_creation.h"
#include "units/qu_units.h"
#include "util/qu_string.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/connection.h"

namespace qrd {

namespace {

// The shortest form that can hold a length.
constexpr std::int32_t length_bits = 32;

// The client counts the number formats in another order.
constexpr number_format wire_formats[] = {FORMAT_DECIMAL, FORMAT_INTEGER, FORMAT_EXPONENT, FORMAT_FREE,
                                          FORMAT_SHIFTED};

bool read_unit(bool& given, unit_text& unit) {
  if (client_is(old_client)) {
    if (!read_arguments(unit)) return false;
    given = unit[0] != '\0';
    return true;
  }
  std::int32_t flag = 0;
  if (!read_arguments(flag)) return false;
  given = flag != 0;
  return !given || read_arguments(unit);
}

// A number without unit that has room for a length is one, in the client's unit.
void set_unit(std::int32_t bit_length, bool given, const unit_text& unit, qd_format_record& format) {
  qu_string_copy(unit, format.unit);
  format.length_flag = 0;
  format.factor = 1.0;
  if (bit_length < length_bits) return;
  if (!given) {
    format.length_flag = 1;
    format.factor = units.distance.factor;
    qu_string_copy(units.distance.unit, format.unit);
  } else if (units.kept) {
    format.length_flag = qu_unit_factor(unit, &format.factor);
  }
}

}  // namespace

// CVARFNEW, CVARMNEW: makes a float or a macro variable in the current file.
request_status server_answer_var_float_new(const char* request) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  // A refusal here leaves the other arguments on the socket.
  if (!may_create_variables()) return not_served;

  std::int32_t bit_length = 0, format_type = 0, width = 0, digits = 0;
  bool unit_given = false;
  unit_text unit = "";
  if (!read_arguments(bit_length, format_type, width, digits) || !read_unit(unit_given, unit))
    return not_served;
  if (!is_numeric_bit_length(bit_length)) return refuse("Bitlength must be one of 1,2,4,8,16,32 or 64");
  if (format_type < 0 || format_type >= static_cast<std::int32_t>(std::size(wire_formats)))
    return refuse("Wrong format_type (%d)", format_type);

  qd_format_record format = float_default;
  format.format = wire_formats[format_type];
  format.width = width;
  format.digits = digits;
  set_unit(bit_length, unit_given, unit, format);
  bool is_macro = std::strcmp(request, "CVARMNEW") == 0;
  return create_variable(name.c_str(), is_macro ? VAR_MACRO : VAR_FLOAT, bit_length, format);
}

}  // namespace qrd
