// CINDSET, CINDASET: chooses a column of the current macro variable, by its number or by its text.
#include <algorithm>
#include <cstring>

#include "requests/context.h"
#include "requests/current_macro.h"
#include "requests/handlers.h"
#include "wire/answer.h"
#include "wire/arguments.h"
#include "wire/debug.h"

namespace qrd {

request_status server_answer_indice_set(const char* request) {
  bool by_text = std::strcmp(request, "CINDASET") == 0;
  std::int32_t index = 0;
  request_text alpha;
  if (by_text ? !read_arguments(alpha) : !read_arguments(index)) return not_served;
  qd_var_info info;
  qd_variable_place place;
  if (!find_current_variable(info, place)) return not_served;
  const server_context& context = current_context;
  if (info.type != VAR_MACRO)
    return refuse("Not a valid Velmar macro: %s: %s/%s/%s", context.study, context.directory, context.file,
                  context.variable);
  macro_indices indices;
  if (!indices.read(place)) return not_served;

  if (by_text) {
    std::int64_t rank = indices.alpha.find(alpha.c_str());
    if (rank < 0)
      return refuse("Not a valid alpha indice (%s) for current Velmar variable: %s: %s/%s/%s", alpha.c_str(),
                    context.study, context.directory, context.file, context.variable);
    index = static_cast<std::int32_t>(indices.numbers[static_cast<std::size_t>(rank)]);
  } else if (std::find(indices.numbers.begin(), indices.numbers.end(), index) == indices.numbers.end()) {
    return refuse("Not a valid indice (%d) for current Velmar variable: %s: %s/%s/%s", index, context.study,
                  context.directory, context.file, context.variable);
  }
  current_context.indice = index;
  server_debug(1, "Setting Variable: \"%s\".", context.variable);
  return answer();
}

}  // namespace qrd
