// The intervals of a manual or facies colour scale.
#pragma once

#include <cstdint>
#include <vector>

namespace qrd {

struct interval_table {
  bool integer_bounds = false;                // a generated interval starts 1 above the last bound
  std::vector<double> bounds;                 // all minima, then all maxima
  std::vector<std::int64_t> palette_indices;  // one per interval

  std::int64_t count() const { return static_cast<std::int64_t>(palette_indices.size()); }
  double& minimum(std::int64_t i) { return bounds[static_cast<std::size_t>(i)]; }
  double& maximum(std::int64_t i) { return bounds[static_cast<std::size_t>(count() + i)]; }
};

// Keeps the first intervals; new ones follow the greatest bound in steps of 1, with their own rank as
// palette index, at most class_count - 1.
void qu_interval_resize(interval_table& table, std::int64_t new_count, std::int64_t class_count);

}  // namespace qrd
