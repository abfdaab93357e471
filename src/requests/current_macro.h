// What the requests on the indices of the current macro variable share. A step that gives false has
// refused the request.
#pragma once

#include <cstdint>
#include <vector>

#include "disk/qd_records.h"
#include "util/qu_list.h"

namespace qrd {

bool find_current_variable(qd_var_info& info, qd_variable_place& place);

// The valid indices, ascending, and their texts if the macro has any.
struct macro_indices {
  bool read(const qd_variable_place& place);
  std::vector<std::int64_t> numbers;
  string_list alpha;
};

}  // namespace qrd
