// Cells of a table as values for variables, and what a column of them can become.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "command/command_line.h"
#include "formats/text_table.h"
#include "qrd/table.h"

namespace qrd::command {

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

// How a table is made, and what its cells stand for.
struct table_options {
  std::string path = "-";
  formats::table_wishes wishes;
  cell_rules cells;
};
void add_table_options(const command_line& command, table_options& options);

// What a column becomes, and how many of its cells are missing.
struct column_type {
  std::int32_t bits = 0;        // 0 for a text
  std::int32_t characters = 0;  // 0 for a number
  std::size_t missing = 0;
  bool is_text() const { return characters > 0; }
};

// A column that is looked at, and what is wanted of it.
struct looked_column {
  std::size_t index = 0;
  bool text = false;
  std::int32_t bits = 0;  // 0: the column decides: 64, or 1 where there are zeros and ones and nothing else
  bool is_place = false;  // no value may be missing
  std::size_t held = 0;   // so many of its first numbers are kept
  column_type type;       // what came out
  std::vector<double> numbers;  // NaN where missing
};

using row_taker = std::function<void(std::span<const std::string_view> cells, std::size_t line)>;

// Reads the table for the first time, and gives the number of its rows. A column has numbers if every cell
// that is not missing is one, or if bits are wished; else texts. An `error` that tells column and cells: a
// column that is mostly numbers with some words among them; values below detection without a rule for them;
// what the bits can't hold. `bits` are those of numbers where a column has no wish.
std::size_t look_at(formats::text_table& table, const cell_rules& rules, std::vector<looked_column>& columns,
                    std::int32_t bits = 0, const formats::table_progress& progress = nullptr,
                    const row_taker& take = nullptr);

// A column to read, as what.
struct read_column {
  std::size_t index = 0;
  column_type type;
  bool is_place = false;
};

// Some rows of the table: the values of the columns, and the lines in which they stand.
struct table_block {
  std::size_t first = 0;
  std::vector<std::size_t> lines;
  std::vector<client::column_values> columns;
  std::size_t rows() const { return lines.size(); }
};

// Reads the table in blocks of so many rows. A cell that is not what its column says is an `error` that tells
// the line.
void read_blocks(formats::text_table& table, const cell_rules& rules, const std::vector<read_column>& columns,
                 std::size_t rows_per_block, const std::function<void(table_block&)>& take,
                 const formats::table_progress& progress = nullptr);

// The same in one block.
table_block read_whole(formats::text_table& table, const cell_rules& rules,
                       const std::vector<read_column>& columns);

// The line in which a row stands, for a message: the table is read for it.
std::string where_row(formats::text_table& table, std::size_t row);

}  // namespace qrd::command
