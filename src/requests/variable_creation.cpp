#include "requests/variable_creation.h"

#include "catalogue/qd_lookup.h"
#include "edit/qd_manage_variable.h"
#include "requests/context.h"
#include "wire/answer.h"
#include "wire/debug.h"

namespace qrd {

bool may_create_variables() {
  const server_context& context = current_context;
  if (is_set(context.study) && is_set(context.directory) && is_set(context.file)) return true;
  return refuse("Study, Directory or File is not set");
}

request_status create_variable(const char* name, std::int32_t type, std::int64_t bit_length,
                               const qd_format_record& format) {
  const server_context& context = current_context;
  const found present = qd_variable_test(false, context.directory, context.file, name);
  if (present == found::unclear) return refuse("Cannot open file");
  if (present == found::yes)
    return refuse("Variable %s already exists in %s: %s/%s", name, context.study, context.directory,
                  context.file);

  server_debug(1, "Creating Variable: \"%s\".", name);
  // The bit length has 32 bits on disk, and 8 bits make a character.
  constexpr std::int64_t longest = missing_int32 - 1;
  if (bit_length < 1 || bit_length > longest ||
      !qd_create_variable(context.directory, context.file, name, type, KIND_PLAIN, bit_length, &format))
    return refuse("Cannot create variable %s: %s/%s/%s", context.study, context.directory, context.file,
                  name);
  return answer();
}

}  // namespace qrd
