#include <algorithm>
#include <new>
#include <vector>

#include "util/qu_list.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

struct keyed_value {
  std::int64_t key;
  std::int64_t value;
};
using work_area = std::vector<keyed_value>;

// One for each slot, kept at the size that its largest sort took.
std::vector<work_area> work_areas;

void fill(work_area& area, std::int64_t count, const std::int64_t* keys, const std::int64_t* companion) {
  area.clear();
  area.reserve(static_cast<std::size_t>(count));
  for (std::int64_t i = 0; i < count; i++) area.push_back({keys[i], companion[i]});
}

}  // namespace

void qu_sort_init(std::int64_t slots) {
  if (slots > static_cast<std::int64_t>(work_areas.size()))
    work_areas.resize(static_cast<std::size_t>(slots));
}

int qu_sort(std::int64_t slot, int copy_mode, std::int64_t count, std::int64_t* keys,
            std::int64_t* companion) {
  bool keep_keys = copy_mode != 0;
  if (count < 1) return 1;
  if (companion == nullptr) {
    if (!keep_keys) std::sort(keys, keys + count);
    return 1;
  }

  qu_sort_init(slot + 1);
  work_area& area = work_areas[static_cast<std::size_t>(slot)];
  try {
    fill(area, count, keys, companion);
  } catch (const std::bad_alloc&) {
    if (copy_mode == 0) throw;
    if (copy_mode == 1) qu_fatal_number("qu_sort", 20);
    return 0;
  }
  std::sort(area.begin(), area.end(),
            [](const keyed_value& left, const keyed_value& right) { return left.key < right.key; });
  for (std::int64_t i = 0; i < count; i++) {
    const keyed_value& sorted = area[static_cast<std::size_t>(i)];
    if (!keep_keys) keys[i] = sorted.key;
    companion[i] = sorted.value;
  }
  return 1;
}

}  // namespace qrd
