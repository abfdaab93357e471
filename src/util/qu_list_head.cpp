#include "util/qu_list_head.h"

#include "util/qu_constants.h"

namespace qrd {

std::int64_t qu_list_head(string_list& list, int mode, const char* new_word) {
  if (mode < -1 || mode > 1) return -1;
  if (mode >= 0) list.add(no_name, name_size);
  if (mode == 0) list.add(new_word, name_size);
  return list.count();
}

}  // namespace qrd
