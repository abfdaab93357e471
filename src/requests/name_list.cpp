#include "requests/name_list.h"

namespace qrd {

request_status answer_names(found listed, const string_list& names) {
  if (listed == found::yes) return answer(wire_names{names});
  return refuse("Cannot open file");
}

}  // namespace qrd
