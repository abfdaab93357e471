// The indices of macro variables.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "samples/qd_variable_table.h"
#include "util/qu_list.h"

namespace qrd {

// The valid indices, ascending; nothing on failure. `alpha` (or null) receives the texts, or stays empty when
// the macro has none.
std::optional<std::vector<std::int64_t>> qd_macro_get_sorted_indices(const qd_variable_handle& handle,
                                                                     string_list* alpha);
// The same for a macro that was found at a place a moment ago; nothing also when no more variables can be
// selected.
std::optional<std::vector<std::int64_t>> qd_macro_indices(const qd_variable_place& place,
                                                          const char* directory, const char* file,
                                                          const char* variable, string_list* alpha);

}  // namespace qrd
