// qrd read, qrd export: samples as a table.
#include <algorithm>
#include <memory>
#include <optional>
#include <set>

#include "command/column.h"
#include "command/interruption.h"
#include "command/options.h"
#include "command/output_file.h"
#include "command/session.h"
#include "command/table_output.h"

namespace qrd::command {

namespace {

struct read_options {
  place_options place;
  std::vector<std::string> variables;
  std::string output = "-";
  bool skip_missing = false;
  bool header_units = false;
  bool by_lines = false;
  bool by_columns = false;
  bool force = false;
};

table_form wanted_form(const common_options& common, const read_options& options) {
  if (options.by_lines) return table_form::json_lines;
  if (options.by_columns) return table_form::json_columns;
  return common.json ? table_form::json_rows : table_form::csv;
}

// Whether a row has a value in one of the columns that count; with none that count, always.
bool has_value(const std::vector<column>& columns, const std::vector<column_values>& values, std::size_t row,
               const std::vector<std::size_t>& that_count) {
  return that_count.empty() || std::any_of(that_count.begin(), that_count.end(), [&](std::size_t i) {
           return !values[i].is_missing(columns[i], row);
         });
}

void print_table(client::connection& server, const common_options& common, const read_options& options,
                 const std::vector<column>& columns, std::int64_t samples,
                 const std::vector<std::size_t>& columns_that_count = {}) {
  const auto range = wanted_range(server, options.place, samples);
  // An export that is interrupted takes its unfinished file away.
  std::optional<interruption_guard> guard;
  if (options.output != "-") guard.emplace();
  output_file file(options.output, options.force ? existing_file::replaced : existing_file::kept);
  table_output table(columns, wanted_form(common, options), options.header_units, file.stream());
  if (range && !columns.empty())
    read_pieces(server, columns, *range, options.place.use(), common.quiet,
                [&](const std::vector<column_values>& values) {
                  const std::size_t rows = values[0].size(columns[0]);
                  for (std::size_t row = 0; row < rows; ++row)
                    if (has_value(columns, values, row, columns_that_count)) table.add_row(values, row);
                });
  table.finish();
  file.finish();
}

void add_form_options(const command_line& command, read_options& options) {
  command.add_flag("--header-units", options.header_units, "Name units in the heading, as in \"depth [ft]\"");
  const option lines =
      command.add_flag("--ndjson", options.by_lines, "JSON with an object for each row, on a line");
  command.add_flag("--columns", options.by_columns, "JSON with an array for each variable").excludes(lines);
}

void read(const common_options& common, const read_options& options) {
  with_session(common, [&](session& server) {
    open_place(*server, options.place);
    std::vector<column> columns;
    for (const std::string& name : options.variables)
      columns.push_back(open_column(*server, name, options.place.index));
    print_table(*server, common, options, columns, server->file_info().samples);
  });
}

// The places first, then every variable that the file stores; of what the server computes only the
// coordinates of a grid and the number of the line.
void export_file(const common_options& common, const read_options& options) {
  with_session(common, [&](session& server) {
    open_place(*server, options.place);
    const client::file_info info = server->file_info();
    std::vector<column> columns;
    std::set<std::string> placed;
    const auto place = [&](const std::optional<std::string>& name) {
      if (!name || !placed.insert(*name).second) return;
      columns.push_back(open_column(*server, *name));
    };
    place(info.line_number);
    for (const auto& name : info.coordinates) place(name);
    for (const auto& name : info.core_begins) place(name);
    for (const auto& name : info.core_ends) place(name);
    const std::size_t places = columns.size();

    for (const std::string& name : options.variables.empty() ? server->variables() : options.variables) {
      if (placed.contains(name)) continue;
      for (column& one : open_columns(*server, name))
        if (!options.variables.empty() || !one.info.implicit) columns.push_back(std::move(one));
    }
    // Texts and selections are there for every sample, and tell nothing of what was measured.
    std::vector<std::size_t> that_count;
    if (options.skip_missing)
      for (std::size_t i = places; i < columns.size(); ++i)
        if (!columns[i].is_text() && columns[i].info.bits > 1) that_count.push_back(i);
    print_table(*server, common, options, columns, info.samples, that_count);
  });
}

}  // namespace

void add_read_commands(const command_line& program, const common_options& common) {
  {
    const command_line command = program.add_subcommand("read", "Print samples of variables as CSV");
    auto options = std::make_shared<read_options>();
    add_file_arguments(command, options->place);
    command
        .add_option("variables", options->variables, "Names; a macro column also as stem[12] or stem{name}")
        .required()
        .type_name("VARIABLE");
    add_range_options(command, options->place);
    command.add_option("--index", options->place.index, "Column of macro variables, by number or name");
    add_unit_options(command, options->place.unit);
    add_form_options(command, *options);
    command.callback([options, &common] { read(common, *options); });
  }
  {
    const command_line command =
        program.add_subcommand("export", "Write a file's places and variables as CSV");
    auto options = std::make_shared<read_options>();
    add_file_arguments(command, options->place);
    command.add_option("variables", options->variables, "Names (default: all that the file stores)")
        .type_name("VARIABLE");
    add_range_options(command, options->place);
    add_unit_options(command, options->place.unit);
    command.add_option("-o,--output", options->output, "File to write (default: standard output)")
        .type_name("FILE.csv");
    command.add_flag("-f,--force", options->force, "Replace the file if it is there");
    command.add_flag("--skip-missing", options->skip_missing,
                     "Leave out samples where all number variables are missing");
    add_form_options(command, *options);
    command.callback([options, &common] { export_file(common, *options); });
  }
}

}  // namespace qrd::command
