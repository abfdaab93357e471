// Variables whose values are computed.
#pragma once

#include <cstdint>

#include "samples/qd_select.h"

namespace qrd {

// Whether an implicit variable of this kind has values.
bool qd_is_computed_kind(int kind);
// The values of the samples first to last. False if another server has deleted the file; an unknown kind and
// an unreadable line table are fatal.
bool qd_implicit_values(const qd_selected_entry& entry, std::int64_t first, std::int64_t last,
                        double* values);

}  // namespace qrd
