// The nodes of a grid as the places of a table tell them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "qrd/table.h"

namespace qrd::command {

struct placed_grid {
  client::grid_file_geometry geometry;
  std::int64_t samples = 0;
  std::vector<std::size_t> sample_of_row;  // empty: in their order
};

// What the user tells of a grid; what is empty is found.
struct grid_wishes {
  std::vector<double> origin;
  std::vector<double> mesh;
  std::vector<std::int32_t> nodes;
  std::vector<double> rotation;
};

// A row that is not a node of the grid, or whose node has a row already.
struct wrong_row {
  std::size_t row;
  std::string text;
};
using placing = std::variant<placed_grid, wrong_row>;

// A grid that may be turned, whose rows run through all nodes: one axis through all of its own, then the next
// one goes on. `places` are the coordinates axis by axis. `own_order`: the last axis is the quickest, as in
// an export. Nothing if they are none such, or if the axes are those of the coordinates and the order may be
// any.
std::optional<placed_grid> full_grid(const std::vector<std::span<const double>>& places, bool own_order);

// A grid that isn't turned, whose rows stand in any order; a node may have none. An `error` if the places are
// those of no grid.
placing straight_grid(const std::vector<std::span<const double>>& places, const grid_wishes& wishes);
// The same where rows tell the numbers of their nodes, from 1.
placing numbered_grid(const std::vector<std::span<const double>>& numbers, const grid_wishes& wishes);
// Rows without places that run through X first, then Y, then Z.
placed_grid listed_grid(std::size_t rows, const grid_wishes& wishes);

}  // namespace qrd::command
