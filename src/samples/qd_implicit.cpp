// Values of the variables that have no data file: they follow from the numbering of the samples, the
// line table or the geometry of the grid.
#include "samples/qd_implicit.h"

#include <algorithm>
#include <vector>

#include "disk/qd_file_descriptor.h"
#include "disk/qd_line_table.h"

namespace qrd {

namespace {

// Line j holds the samples from entry j - 1 of the line table to the one before entry j.
void line_values(const line_table_part& lines, int kind, std::int64_t first, std::int64_t last,
                 double* values) {
  const std::vector<std::int64_t>& offsets = lines.offsets;
  const auto behind = std::upper_bound(offsets.begin() + 1, offsets.end() - 1, first);
  auto j = static_cast<std::size_t>(behind - offsets.begin());
  for (std::int64_t i = 0; i <= last - first; ++i) {
    while (j < offsets.size() - 1 && offsets[j] <= first + i) ++j;
    values[i] = static_cast<double>(kind == KIND_LINE_NUMBER ? lines.begin + static_cast<std::int64_t>(j)
                                                             : first + i - offsets[j - 1] + 1);
  }
}

// Calls row(i, j, k, count, place) for each run of nodes along Z. Z varies fastest, X slowest; all
// indices count from 0.
template <typename Row>
void walk_grid(const qd_grid_record& grid, std::int64_t first, std::int64_t last, double* values, Row row) {
  std::int64_t ny = std::max<std::int64_t>(grid.ny, 1);
  std::int64_t nz = std::max<std::int64_t>(grid.nz, 1);
  std::int64_t node = first - 1;
  std::int64_t k = node % nz;
  std::int64_t j = node / nz % ny;
  std::int64_t i = node / nz / ny;
  for (std::int64_t left = last - first + 1; left > 0;) {
    std::int64_t run = std::min(nz - k, left);
    row(i, j, k, run, values);
    values += run;
    left -= run;
    k = 0;
    if (++j < ny) continue;
    j = 0;
    ++i;
  }
}

void grid_index(const qd_selected_entry& entry, std::int64_t first, std::int64_t last, double* values) {
  int kind = entry.kind;
  walk_grid(entry.grid, first, last, values,
            [kind](std::int64_t i, std::int64_t j, std::int64_t k, std::int64_t run, double* place) {
              if (kind == KIND_IZ)
                for (std::int64_t n = 0; n < run; ++n) place[n] = static_cast<double>(k + n + 1);
              else
                std::fill_n(place, run, static_cast<double>((kind == KIND_IX ? i : j) + 1));
            });
}

// x = x0 + (i dx) t[0] + (j dy) t[1] + (k dz) t[2], added in this order, and likewise for y and z.
void grid_coordinate(const qd_selected_entry& entry, std::int64_t first, std::int64_t last, double* values) {
  const qd_grid_record& grid = entry.grid;
  int axis = entry.kind - KIND_X;
  const double origin = axis == 0 ? grid.x0 : axis == 1 ? grid.y0 : grid.z0;
  const double* t = grid.t + 3 * axis;
  walk_grid(grid, first, last, values,
            [&](std::int64_t i, std::int64_t j, std::int64_t k, std::int64_t run, double* place) {
              double along_x = origin + static_cast<double>(i) * grid.dx * t[0];
              double along_y = along_x + static_cast<double>(j) * grid.dy * t[1];
              for (std::int64_t n = 0; n < run; ++n)
                place[n] = along_y + static_cast<double>(k + n) * grid.dz * t[2];
            });
}

}  // namespace

bool qd_is_computed_kind(int kind) {
  return kind >= KIND_SAMPLE_NUMBER && kind <= KIND_Z;
}

bool computed_values::open(const qd_selected_entry& entry, std::int64_t first, std::int64_t last) {
  entry_ = &entry;
  if (!qd_is_computed_kind(entry.kind)) return false;
  if (entry.kind != KIND_RELATIVE_NUMBER && entry.kind != KIND_LINE_NUMBER) return true;
  qd_file_record record;
  // Samples, but no line that could hold them, are no table either.
  return qd_file_descriptor_read(entry.file_path, record) == object_state::sound &&
         record.sample_count == entry.sample_count && record.line_count >= 1 &&
         qd_line_table_read_around(entry.file_path, record, first, last, lines_);
}

void computed_values::get(std::int64_t first, std::int64_t last, double* values) const {
  switch (entry_->kind) {
    case KIND_SAMPLE_NUMBER:
      for (std::int64_t i = 0; i <= last - first; ++i) values[i] = static_cast<double>(first + i);
      return;
    case KIND_RELATIVE_NUMBER:
    case KIND_LINE_NUMBER:
      return line_values(lines_, entry_->kind, first, last, values);
    case KIND_IX:
    case KIND_IY:
    case KIND_IZ:
      return grid_index(*entry_, first, last, values);
    default:
      return grid_coordinate(*entry_, first, last, values);
  }
}

}  // namespace qrd
