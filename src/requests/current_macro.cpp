#include "requests/current_macro.h"

#include "catalogue/qd_info.h"
#include "requests/context.h"
#include "samples/qd_macro_indices.h"
#include "wire/answer.h"

namespace qrd {

bool find_current_variable(qd_var_info& info, qd_variable_place& place) {
  if (!is_set(current_context.variable)) return refuse("Variable is not set");
  if (qd_variable_query(false, current_context.directory, current_context.file, current_context.variable,
                        info, nullptr, &place) == found::yes)
    return true;
  return refuse("Cannot get variable info");
}

bool macro_indices::read(const qd_variable_place& place) {
  auto read = qd_macro_indices(place, current_context.directory, current_context.file,
                               current_context.variable, &alpha);
  if (!read) return refuse("Cannot get variable info");
  numbers = std::move(*read);
  return true;
}

}  // namespace qrd
