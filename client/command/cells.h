// Cells of a table as values for variables.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qrd::command {

using cell_list = std::vector<std::string_view>;

// Which cells stand for a missing value: blank ones, and those that equal one of the texts.
struct missing_cells {
  std::vector<std::string> texts;
  bool contain(std::string_view cell) const;
};

// Whether every cell is missing or a number, and one at least is a number.
bool are_numbers(const cell_list& cells, const missing_cells& missing);
// Characters of the longest cell, at least 1.
std::int32_t longest(const cell_list& cells, const missing_cells& missing);

// The cells as numbers; missing ones as client::missing_value. A cell that is no number, or that the bits
// cannot hold, is an `error` that names the column and the row, counted from 1 behind the names.
std::vector<double> to_numbers(const cell_list& cells, const missing_cells& missing, const std::string& title,
                               std::int32_t bits);
// The same without missing cells: coordinates, depths.
std::vector<double> to_places(const cell_list& cells, const missing_cells& missing, const std::string& title);
// A cell that is longer than the width is an `error` as well.
std::vector<std::string> to_texts(const cell_list& cells, const missing_cells& missing,
                                  const std::string& title, std::int32_t width);

}  // namespace qrd::command
