// Where to read or write, as the command line tells it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "command/command_line.h"
#include "command/names.h"
#include "qrd/table.h"

namespace qrd::command {

struct place_options {
  // Study, directory, file; variables behind them.
  std::vector<std::string> words;
  std::optional<std::int64_t> first;
  std::optional<std::int64_t> last;
  std::string line;
  std::string selection;
  bool compress = false;
  std::string index;
  std::string unit;  // of all lengths; empty: each in its variable's own
};
void add_range_options(const command_line& command, place_options& place);
void add_index_option(const command_line& command, place_options& place);

// What is wrong with the symbol of a length unit, as an option checks its values; nothing for a good one.
std::string length_symbol_problem(const std::string& text);
// The unit of all lengths that a command tells or takes; empty for each in its own.
void add_unit_options(const command_line& command, std::string& unit);

// The samples that the options tell, how they are masked, and their unit. A line that is not there is an
// `error`; a range is looked at by who reads or writes it. Nothing where there are no samples and none were
// asked for.
std::optional<client::reading> reading_of(client::table& file, const place_options& place);

}  // namespace qrd::command
