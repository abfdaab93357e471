// The words that stand before the names of a list for a selection box.
#pragma once

#include <cstdint>

#include "util/qu_list.h"

namespace qrd {

// Mode -1 adds nothing, 0 adds "None" and `new_word`, 1 adds "None". Gives the rank behind the head, or
// -1 for another mode.
std::int64_t qu_list_head(string_list& list, int mode, const char* new_word);

}  // namespace qrd
