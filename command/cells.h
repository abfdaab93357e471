// Cells of a table as values for variables, and what a column of them can become.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "command/csv.h"

namespace qrd::command {

using cell_list = std::vector<std::string_view>;

// What a cell like "<0.01" stands for: a value that was too small to be measured.
enum class below_detection { refused, half, zero, missing, value };

struct cell_rules {
  // Cells that stand for a missing value, beside blank ones and NA, N/A, NaN and null. Among numbers the case
  // of these four does not matter; a text "Na" is a text.
  std::vector<std::string> missing;
  below_detection below = below_detection::refused;

  bool is_missing_text(std::string_view cell) const;
  bool is_missing_number(std::string_view cell) const;
};

// What a column becomes, and how many of its cells are missing.
struct column_type {
  std::int32_t bits = 0;        // 0 for a text
  std::int32_t characters = 0;  // 0 for a number
  std::size_t missing = 0;
  bool is_text() const { return characters > 0; }
};

struct column_wishes {
  bool text = false;
  std::int32_t bits = 0;  // 0: the column decides, and numbers get 64
};

// Numbers if every cell that is not missing is one, or if bits are wished; else texts. A column that is
// mostly numbers with some words among them, or that has values below detection without a rule for them, is
// an `error` that names the first three.
column_type type_of_column(const csv_table& table, const std::string& title, const cell_rules& rules,
                           const column_wishes& wishes);

// The cells as numbers; missing ones as missing_value. A cell that is no number, or that the bits cannot
// hold, is an `error` that names the column and the line.
std::vector<double> to_numbers(const csv_table& table, const std::string& title, const cell_rules& rules,
                               std::int32_t bits);
// The same without missing cells: coordinates, depths.
std::vector<double> to_places(const csv_table& table, const std::string& title, const cell_rules& rules);
// A cell that is longer than the width is an `error` as well.
std::vector<std::string> to_texts(const csv_table& table, const std::string& title, const cell_rules& rules,
                                  std::int32_t width);

}  // namespace qrd::command
