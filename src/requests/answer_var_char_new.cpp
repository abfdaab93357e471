// Creation of text variables.
#include "disk/qd_records.h"
#include "requests/handlers.h"
#include "requests/variable_creation.h"
#include "wire/answer.h"
#include "wire/arguments.h"

namespace qrd {

// CVARCNEW: makes a text variable of some characters in the current file.
request_status server_answer_var_char_new(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return not_served;
  // A refusal here leaves the width on the socket.
  if (!may_create_variables()) return not_served;
  std::int32_t width = 0;
  if (!read_arguments(width)) return not_served;
  return create_variable(name.c_str(), VAR_CHAR, std::int64_t{width} * 8, float_default);
}

}  // namespace qrd
