// Samples of a file as rows: those that the options choose, in the order that they ask for.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "command/command_line.h"
#include "command/place.h"

namespace qrd::command {

struct row_options {
  std::string where;              // a condition
  std::string box;                // "x0:x1,y0:y1,z0:z1"
  std::string nodes;              // "i0:i1,j0:j1,k0:k1"
  std::vector<std::string> sort;  // names, "-NAME" for the greatest first
  std::optional<std::int64_t> limit;
};
// --where, --box, --nodes.
void add_filter_options(const command_line& command, row_options& rows);
// --sort, --limit.
void add_order_options(const command_line& command, row_options& rows);

// A part of the file that was read.
struct row_block {
  std::span<const client::column_values> values;  // column by column
  std::span<const std::size_t> rows;              // those that are wanted, in their order
  std::int64_t first = 1;  // the sample of row 0, unless samples were left out or sorted
};

// Reads the columns part by part, or at once where they are sorted. What is read for the options alone isn't
// given.
void read_rows(client::table& file, const std::vector<client::column>& columns, const place_options& place,
               const row_options& rows, bool quiet, const std::function<void(const row_block&)>& take);

// "lowest:highest" of each axis, separated by commas; an empty side is open, a number alone is both sides. An
// `error` that names the option if the text is something else or has more axes.
struct bounds {
  double lowest;
  double highest;
};
std::vector<bounds> parse_bounds(const std::string& text, std::size_t most_axes, const std::string& option);

}  // namespace qrd::command
