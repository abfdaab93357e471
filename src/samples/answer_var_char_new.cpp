// Creation of text variables.
#include "samples/answer_var_common.h"
#include "samples/answers.h"
#include "server/answering.h"
#include "store/qd_records.h"

namespace qrd {

// CVARCNEW: makes a text variable of some characters in the current file.
int server_answer_var_char_new(const char* /*request*/) {
  request_text name;
  if (!read_arguments(name)) return -1;
  // A refusal here leaves the width on the socket.
  if (!may_create_variables()) return -1;
  std::int32_t width = 0;
  if (!read_arguments(width)) return -1;
  return create_variable(name.c_str(), VAR_CHAR, std::int64_t{width} * 8, float_default);
}

}  // namespace qrd
