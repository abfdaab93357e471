#include "command/column.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include "command/choose.h"
#include "command/interruption.h"
#include "command/progress.h"
#include "qrd/blanks.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

constexpr std::string_view generic_suffix = "[xxxxx]";
constexpr std::int64_t values_per_piece = 1 << 20;

std::optional<std::int32_t> parse_index(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || problem != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::string shown(const variable_name& variable) {
  if (!variable.index) return variable.name;
  const std::string stem = variable.name.substr(0, variable.name.size() - generic_suffix.size());
  if (const auto* number = std::get_if<std::int32_t>(&*variable.index))
    return stem + "[" + std::to_string(*number) + "]";
  return stem + "{" + std::get<std::string>(*variable.index) + "}";
}

// Of the current variable, if the name tells one.
void choose_index(client::connection& server, const variable_name& variable) {
  if (!variable.index) return;
  if (const auto* number = std::get_if<std::int32_t>(&*variable.index))
    server.set_index(*number);
  else
    server.set_index(std::get<std::string>(*variable.index));
}

}  // namespace

variable_name parse_variable_name(const std::string& text) {
  if (text.size() < 3 || text.ends_with(generic_suffix)) return {text, std::nullopt};
  const char close = text.back();
  if (close != ']' && close != '}') return {text, std::nullopt};
  const std::size_t open = text.rfind(close == ']' ? '[' : '{');
  if (open == std::string::npos) return {text, std::nullopt};
  const std::string inside = text.substr(open + 1, text.size() - open - 2);
  const std::string generic = text.substr(0, open).append(generic_suffix);
  if (close == '}') return {generic, inside};
  if (const auto number = parse_index(inside)) return {generic, *number};
  return {text, std::nullopt};
}

column open_column(client::connection& server, const std::string& name, const std::string& index) {
  column result{{}, parse_variable_name(name), {}};
  const auto take_index = [&] {
    if (const auto number = parse_index(index))
      result.variable.index = *number;
    else
      result.variable.index = index;
  };
  if (!index.empty() && !result.variable.index && !name.ends_with(generic_suffix)) {
    const std::string generic = name + std::string(generic_suffix);
    if (generic.size() <= client::max_name && !server.variable_exists(name) &&
        server.variable_exists(generic))
      result.variable.name = generic;
  }
  choose_variable(server, result.variable.name);
  result.info = server.variable_info();
  const bool is_macro = result.info.type == client::variable_type::macro;
  if (is_macro && !result.variable.index && !index.empty()) take_index();
  if (is_macro && !result.variable.index)
    throw client::error("\"" + name + "\" is a macro variable: name one of its columns with --index");
  result.title = shown(result.variable);
  choose_index(server, result.variable);
  return result;
}

std::vector<column> open_columns(client::connection& server, const std::string& name) {
  if (!name.ends_with(generic_suffix)) return {open_column(server, name)};
  choose_variable(server, name);
  const client::variable_info info = server.variable_info();
  if (info.type != client::variable_type::macro) return {open_column(server, name)};
  std::vector<column> columns;
  if (info.indices == 0) return columns;
  const client::macro_indices indices = server.macro_indices();
  for (std::size_t i = 0; i < indices.numbers.size(); ++i) {
    column one{{}, {name, indices.numbers[i]}, info};
    if (indices.names) one.variable.index = (*indices.names)[i];
    one.title = shown(one.variable);
    columns.push_back(std::move(one));
  }
  return columns;
}

void select_column(client::connection& server, const column& chosen) {
  server.set_variable(chosen.variable.name);
  choose_index(server, chosen.variable);
}

bool column_values::is_missing(const column& of, std::size_t i) const {
  return of.is_text() ? texts.values[i].empty() : numbers.values[i] == numbers.missing;
}

std::string cell_text(const column& of, const column_values& values, std::size_t i) {
  constexpr std::int32_t single_precision = 32;
  constexpr std::int32_t double_precision = 64;
  if (of.is_text()) return values.texts.values[i];
  if (values.is_missing(of, i)) return {};
  const double value = values.numbers.values[i];
  const std::optional<double> factor =
      of.info.has_unit.value_or(false) ? client::length_factor(of.unit()) : std::optional<double>(1);
  if (!factor) return client::number_text(value);
  if (of.info.bits == single_precision) return client::single_text(value, *factor);
  if (of.info.bits == double_precision && *factor != 1) return client::length_text(value, *factor);
  return client::number_text(value);
}

void add_file_arguments(const command_line& command, place_options& place) {
  command.add_option("study", place.study, "Name of the study").required().type_name("STUDY");
  command.add_option("directory", place.directory, "Name of the directory").required().type_name("DIRECTORY");
  command.add_option("file", place.file, "Name of the file").required().type_name("FILE");
}

void add_range_options(const command_line& command, place_options& place) {
  const option first = command.add_option("--first", place.first, "First sample, from 1").type_name("N");
  const option last = command.add_option("--last", place.last, "Last sample").type_name("N");
  const option line =
      command.add_option("--line", place.line, "The samples of one line, from 1").type_name("N");
  line.excludes(first).excludes(last);
  const option selection =
      command.add_option("--selection", place.selection, "Selection variable that masks samples")
          .type_name("VARIABLE");
  command.add_flag("--compress", place.compress, "Leave out what the selection masks").needs(selection);
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
      "--metres", [&unit] { unit = "m"; }, "All lengths in metres");
  const option own = command.add_flag_callback(
      "--own-units", [] {}, "Each length in its variable's own unit (this is the default)");
  symbol.excludes(metres).excludes(own);
  metres.excludes(own);
}

void use_units(client::connection& server, const std::string& unit) {
  if (unit.empty())
    server.set_unit_mode(client::unit_mode::own);
  else
    server.set_distance_unit(unit);
}

std::vector<std::string> coordinate_units(client::connection& server) {
  const client::file_info info = server.file_info();
  std::vector<std::string> units;
  for (std::size_t i = 0; i < 3; ++i) {
    // Lines of cores have no coordinates of their own but those of the ends.
    const auto& name = info.coordinates[i] ? info.coordinates[i] : info.core_ends[i];
    if (!name) continue;
    server.set_variable(*name);
    units.push_back(client::value_unit(server.variable_info()));
  }
  return units;
}

void open_place(client::connection& server, const place_options& place) {
  choose_study(server, place.study);
  use_units(server, place.unit);
  choose_directory(server, place.directory);
  choose_file(server, place.file);
  if (!place.selection.empty()) choose_selection(server, place.selection);
}

std::optional<client::sample_range> wanted_range(client::connection& server, const place_options& place,
                                                 std::int64_t samples) {
  if (place.line) {
    const std::vector<std::int32_t> lengths = server.line_lengths();
    const auto count = static_cast<std::int64_t>(lengths.size());
    if (*place.line < 1 || *place.line > count)
      throw client::error("there is no line " + std::to_string(*place.line) + ": the file has " +
                          std::to_string(count) + " lines");
    const auto here = lengths.begin() + (*place.line - 1);
    const std::int64_t before = std::accumulate(lengths.begin(), here, std::int64_t{0});
    return client::sample_range{before + 1, before + *here};
  }
  if (samples == 0 && !place.first && !place.last) return std::nullopt;
  const client::sample_range range{place.first.value_or(1), place.last.value_or(samples)};
  if (range.first < 1 || range.last > samples || range.last < range.first)
    throw client::error("there are no samples " + std::to_string(range.first) + " to " +
                        std::to_string(range.last) + ": the file has " + std::to_string(samples));
  return range;
}

void read_pieces(client::connection& server, const std::vector<column>& columns, client::sample_range range,
                 client::selection_use use, bool quiet,
                 const std::function<void(const std::vector<column_values>&)>& act) {
  const auto width = static_cast<std::int64_t>(columns.size());
  const std::int64_t piece = std::max<std::int64_t>(1, values_per_piece / std::max<std::int64_t>(1, width));
  progress_bar bar("reading", static_cast<std::uint64_t>((range.last - range.first + 1) * width), quiet);
  std::uint64_t done = 0;
  std::vector<column_values> values(columns.size());
  for (std::int64_t first = range.first; first <= range.last; first += piece) {
    check_interruption();
    const client::sample_range part{first, std::min(range.last, first + piece - 1)};
    const auto samples = static_cast<std::uint64_t>(part.last - part.first + 1);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns.size() > 1 || first == range.first) select_column(server, columns[i]);
      server.set_progress([&bar, done, samples](std::uint64_t now, std::uint64_t total) {
        bar.show(done + samples * now / std::max<std::uint64_t>(1, total));
      });
      if (columns[i].is_text()) {
        values[i].texts = server.read_texts(part, use);
        for (std::string& text : values[i].texts.values)
          text.resize(client::without_blanks_behind(text).size());
      } else {
        values[i].numbers = server.read_floats(part, use);
      }
      server.set_progress(nullptr);
      done += samples;
      if (values[i].size(columns[i]) != values[0].size(columns[0]))
        throw client::protocol_error("the server sent columns of different lengths");
    }
    act(values);
  }
}

}  // namespace qrd::command
