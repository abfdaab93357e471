#include "catalogue/qd_name_hints.h"

#include <algorithm>
#include <cstring>

namespace qrd {

// Fowler, Noll and Vo's hash (FNV-1a), 64 bits. Marks may meet: the descriptor decides.
std::uint64_t name_hints::mark_of(std::uint64_t start, std::string_view text) {
  for (const char each : text) start = (start ^ static_cast<unsigned char>(each)) * 0x100000001b3;
  return start;
}

name_hints::hint* name_hints::find(std::uint64_t mark) {
  hint_set& set = set_of(mark);
  const auto place =
      std::find_if(set.begin(), set.end(), [mark](const hint& each) { return each.mark == mark; });
  return place == set.end() ? nullptr : &*place;
}

std::string_view name_hints::folder::where(std::string_view name) const {
  const hint* known = hints_.find(mark_of(mark_, name));
  return known == nullptr ? "" : known->entry;
}

void name_hints::folder::remember(std::string_view name, std::string_view entry) {
  const std::uint64_t mark = mark_of(mark_, name);
  if (mark == 0 || entry.size() >= sizeof hint::entry || hints_.find(mark) != nullptr) return;
  hint_set& set = hints_.set_of(mark);
  std::move_backward(set.begin(), set.end() - 1, set.end());
  set.front() = {mark, {}};
  entry.copy(set.front().entry, entry.size());
}

void name_hints::folder::forget(std::string_view name) {
  if (hint* known = hints_.find(mark_of(mark_, name))) *known = {};
}

}  // namespace qrd
