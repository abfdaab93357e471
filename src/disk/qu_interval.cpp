#include "disk/qu_interval.h"

#include <algorithm>

namespace qrd {

void qu_interval_resize(interval_table& table, std::int64_t new_count, std::int64_t class_count) {
  const std::int64_t old_count = table.count();
  const std::int64_t count = std::max(new_count, std::int64_t{0});
  const std::int64_t kept = std::min(old_count, count);
  double greatest = 0;
  if (old_count > 0) greatest = std::max(-1e30, *std::max_element(table.bounds.begin(), table.bounds.end()));

  std::vector<double> bounds(static_cast<std::size_t>(2 * count));
  std::copy_n(table.bounds.begin(), kept, bounds.begin());
  std::copy_n(table.bounds.begin() + old_count, kept, bounds.begin() + count);
  table.bounds = std::move(bounds);
  table.palette_indices.resize(static_cast<std::size_t>(count));
  for (std::int64_t i = old_count; i < count; ++i) {
    const auto k = static_cast<double>(i - old_count);
    table.minimum(i) = greatest + k + (table.integer_bounds ? 1 : 0);
    table.maximum(i) = greatest + k + 1;
    table.palette_indices[static_cast<std::size_t>(i)] = std::min(i, class_count - 1);
  }
}

}  // namespace qrd
