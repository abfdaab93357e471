// CMACROIND, CMACROALP: the valid indices of the current macro variable, ascending.
#include <cstring>
#include <vector>

#include "requests/current_macro.h"
#include "requests/handlers.h"
#include "wire/answer.h"

namespace qrd {

request_status server_answer_macro_indices(const char* request) {
  bool with_alpha = std::strcmp(request, "CMACROALP") == 0;
  qd_var_info info;
  qd_variable_place place;
  if (!find_current_variable(info, place)) return not_served;
  if (info.type != VAR_MACRO) return refuse("Variable is not a macro variable\n");
  macro_indices indices;
  if (!indices.read(place)) return not_served;
  if (indices.numbers.empty()) return refuse("No valid macro variable indices defined");

  const std::vector<std::int32_t> words(indices.numbers.begin(), indices.numbers.end());
  const auto count = static_cast<std::int32_t>(words.size());
  return answer_with([&] {
    if (!write_value(wire_int{count}) || !write_value(wire_ints{words.data(), count})) return false;
    if (!with_alpha) return true;
    bool has_alpha = indices.alpha.get() != nullptr;
    if (!write_value(wire_int{has_alpha ? 1 : 0})) return false;
    return !has_alpha || write_value(wire_strings{indices.alpha.get(), count});
  });
}

}  // namespace qrd
