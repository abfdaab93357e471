// Variables of the current file as columns of a table.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "command/command_line.h"
#include "command/session.h"
#include "qrd/units.h"

namespace qrd::command {

using macro_index = std::variant<std::int32_t, std::string>;

// A variable as a user names it: "stem[12]" and "stem{gold}" are columns of the macro variable "stem[xxxxx]".
struct variable_name {
  std::string name;
  std::optional<macro_index> index;
};
variable_name parse_variable_name(const std::string& text);

struct column {
  std::string title;
  variable_name variable;
  client::variable_info info;

  bool is_text() const { return info.type == client::variable_type::text; }
  // Of the values as they are read; empty for none.
  std::string unit() const { return client::value_unit(info); }
};

// Makes a variable the current one and asks for its description. `index` stands for the columns of macro
// variables that are named without one; empty for none. "stem" with an index is a column too.
column open_column(client::connection& server, const std::string& name, const std::string& index = {});
// One column for each index of a macro variable, else the one.
std::vector<column> open_columns(client::connection& server, const std::string& name);
void select_column(client::connection& server, const column& chosen);

// What a column holds in a piece of the file.
struct column_values {
  client::float_samples numbers;
  client::text_samples texts;  // trailing blanks removed; empty where missing
  std::size_t size(const column& of) const {
    return of.is_text() ? texts.values.size() : numbers.values.size();
  }
  bool is_missing(const column& of, std::size_t i) const;
};
// The value as a user reads it; empty for a missing one.
std::string cell_text(const column& of, const column_values& values, std::size_t i);

// Where to read or write, as given on the command line.
struct place_options {
  std::string study;
  std::string directory;
  std::string file;
  std::optional<std::int64_t> first;
  std::optional<std::int64_t> last;
  std::optional<std::int64_t> line;
  std::string selection;
  bool compress = false;
  std::string index;
  std::string unit;  // of all lengths; empty: each in its variable's own

  client::selection_use use() const {
    return compress && !selection.empty() ? client::selection_use::compressed : client::selection_use::masked;
  }
};
void add_file_arguments(const command_line& command, place_options& place);
void add_range_options(const command_line& command, place_options& place);

// What is wrong with the symbol of a length unit, as an option checks its values; nothing for a good one.
std::string length_symbol_problem(const std::string& text);
// The unit of all lengths that a command tells or takes; empty for each in its own.
void add_unit_options(const command_line& command, std::string& unit);
void use_units(client::connection& server, const std::string& unit);
// What the coordinates of the current file are told in, axis by axis. Changes the current variable.
std::vector<std::string> coordinate_units(client::connection& server);

// Sets study, units, directory, file and selection.
void open_place(client::connection& server, const place_options& place);
// The samples that the options tell, in a file of so many. A range or line that is not there is an error.
// Nothing in a file without samples when no range was asked for.
std::optional<client::sample_range> wanted_range(client::connection& server, const place_options& place,
                                                 std::int64_t samples);

// Reads the columns piece by piece, so that memory does not grow with the file.
void read_pieces(client::connection& server, const std::vector<column>& columns, client::sample_range range,
                 client::selection_use use, bool quiet,
                 const std::function<void(const std::vector<column_values>&)>& act);

}  // namespace qrd::command
