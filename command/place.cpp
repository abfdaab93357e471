#include "command/place.h"

#include "qrd/units.h"

namespace qrd::command {

void add_range_options(const command_line& command, place_options& place) {
  const option first = command.add_option("--first", place.first, "First sample, from 1").type_name("N");
  const option last = command.add_option("--last", place.last, "Last sample").type_name("N");
  const option line = command.add_option("--line", place.line,
                                         "The samples of one line, by its name or by its number from 1");
  line.type_name("LINE").excludes(first).excludes(last);
  const option selection =
      command.add_option("--selection", place.selection, "Selection variable that masks samples")
          .type_name("VARIABLE");
  command.add_flag("--compress", place.compress, "Leave out what the selection masks").needs(selection);
}

void add_index_option(const command_line& command, place_options& place) {
  command.add_option("--index", place.index, "Column of macro variables, by number or name");
}

std::string length_symbol_problem(const std::string& text) {
  try {
    client::check_length_symbol(text);
    return {};
  } catch (const client::error& problem) {
    return problem.what();
  }
}

void add_unit_options(const command_line& command, std::string& unit) {
  const option symbol =
      command.add_option("--unit", unit, "Unit of all lengths, such as ft (default: each variable's own)");
  symbol.type_name("SYMBOL").check(length_symbol_problem);
  const option metres = command.add_flag_callback(
      "--metres", [&unit] { unit = std::string("m"); }, "All lengths in metres");
  const option own = command.add_flag_callback(
      "--own-units", [] {}, "Each length in its variable's own unit (this is the default)");
  symbol.excludes(metres).excludes(own);
  metres.excludes(own);
}

std::optional<client::reading> reading_of(client::table& file, const place_options& place) {
  client::reading wish;
  wish.selection = place.selection;
  if (place.compress && !place.selection.empty()) wish.use = client::selection_use::compressed;
  wish.unit = place.unit;
  if (!place.line.empty()) {
    const client::line chosen = file.find_line(place.line);
    if (chosen.size() == 0) return std::nullopt;
    wish.range = client::sample_range{chosen.first, chosen.last};
    return wish;
  }
  if (file.samples() == 0 && !place.first && !place.last) return std::nullopt;
  wish.range = client::sample_range{place.first.value_or(1), place.last.value_or(file.samples())};
  return wish;
}

}  // namespace qrd::command
