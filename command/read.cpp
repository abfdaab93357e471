// qrd read, qrd export: samples as a table.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <set>

#include "command/interruption.h"
#include "command/options.h"
#include "command/output_file.h"
#include "command/place.h"
#include "command/rows.h"
#include "command/session.h"
#include "command/table_output.h"

namespace qrd::command {

namespace {

struct read_options {
  place_options place;
  row_options rows;
  std::string output = "-";
  bool skip_missing = false;
  bool header_units = false;
  bool by_lines = false;
  bool by_columns = false;
  bool as_csv = false;
  bool as_geojson = false;
  bool force = false;
};

constexpr const char* file_type = "STUDY DIRECTORY FILE";

table_form wanted_form(const common_options& common, const read_options& options) {
  if (options.by_lines) return table_form::json_lines;
  if (options.by_columns) return table_form::json_columns;
  if (options.as_geojson || options.output.ends_with(".geojson")) return table_form::geojson;
  if (common.json) return table_form::json_rows;
  return options.as_csv || options.output != "-" || !is_watched() ? table_form::csv : table_form::aligned;
}

// Whether a row has a value in one of the columns that count; with none that count, always.
bool has_value(const row_block& block, std::size_t row, const std::vector<std::size_t>& that_count) {
  return that_count.empty() || std::any_of(that_count.begin(), that_count.end(), [&](std::size_t i) {
           return !std::isnan(block.values[i].numbers[row]);
         });
}

void print_table(client::table& file, const common_options& common, const read_options& options,
                 const std::vector<client::column>& columns,
                 const std::vector<std::size_t>& columns_that_count = {}) {
  // An export that is interrupted takes its unfinished file away.
  std::optional<interruption_guard> guard;
  if (options.output != "-") guard.emplace();
  const pager shown(options.output == "-" && common.paged);
  output_file target(options.output, options.force ? existing_file::replaced : existing_file::kept);
  table_output table(columns, wanted_form(common, options), options.header_units, target.stream());
  std::vector<std::size_t> rows;
  const auto print = [&](const row_block& block) {
    if (columns_that_count.empty()) {
      table.add(block);
      return;
    }
    rows.clear();
    std::copy_if(block.rows.begin(), block.rows.end(), std::back_inserter(rows),
                 [&](std::size_t row) { return has_value(block, row, columns_that_count); });
    table.add({block.values, rows, block.first});
  };
  if (!columns.empty()) read_rows(file, columns, options.place, options.rows, common.quiet, print);
  table.finish();
  target.finish();
}

void read(const common_options& common, const read_options& options) {
  need_names(options.place.words, 4, std::string(file_type) + " VARIABLE");
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.place.words;
    client::table file(all, take_file(all, words));
    if (words.empty()) throw wrong_usage("the variables are missing");
    all.use_unit(options.place.unit);
    print_table(file, common, options, open_columns(file, words, options.place.index));
  });
}

// The places first, then every variable that the file stores; of what the server computes only the
// coordinates of a grid and the number of the line.
void export_file(const common_options& common, const read_options& options) {
  need_names(options.place.words, 3, file_type);
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.place.words;
    client::table file(all, take_file(all, words));
    all.use_unit(options.place.unit);
    const client::file_info& info = file.info();
    std::vector<client::column> columns;
    std::set<std::string> placed;
    const auto place = [&](const std::optional<std::string>& name) {
      if (name && placed.insert(*name).second) columns.push_back(file.open(*name));
    };
    place(info.line_number);
    for (const auto& name : info.coordinates) place(name);
    for (const auto& name : info.core_begins) place(name);
    for (const auto& name : info.core_ends) place(name);
    const std::size_t places = columns.size();

    for (const std::string& name : words.empty() ? file.names() : words) {
      if (placed.contains(name)) continue;
      const bool is_asked = !words.empty();
      for (client::column& one : is_pattern(name) ? open_columns(file, {name}) : file.open_all(name))
        if ((is_asked || !one.info.implicit) && !placed.contains(one.title))
          columns.push_back(std::move(one));
    }
    // Texts and selections are there for every sample, and tell nothing of what was measured.
    std::vector<std::size_t> that_count;
    if (options.skip_missing)
      for (std::size_t i = places; i < columns.size(); ++i)
        if (!columns[i].is_text() && !columns[i].is_selection()) that_count.push_back(i);
    print_table(file, common, options, columns, that_count);
  });
}

std::pair<command_line, std::shared_ptr<read_options>> add_command(const command_line& program,
                                                                   const char* name, const char* text,
                                                                   const char* variables) {
  const command_line command = program.add_subcommand(name, text);
  auto options = std::make_shared<read_options>();
  add_names(command, options->place.words, std::string(file_type) + variables,
            "The file, also as STUDY/DIRECTORY/FILE, and its variables: x, y, z, stem[12], stem{name}, 'C*'");
  add_range_options(command, options->place);
  add_filter_options(command, options->rows);
  add_order_options(command, options->rows);
  add_unit_options(command, options->place.unit);
  command.add_flag("--header-units", options->header_units,
                   "Name units in the heading, as in \"depth [ft]\"");
  const option lines =
      command.add_flag("--ndjson", options->by_lines, "JSON with an object for each row, on a line");
  command.add_flag("--columns", options->by_columns, "JSON with an array for each variable").excludes(lines);
  command.add_option("-o,--output", options->output, "File to write (default: -, standard output)")
      .type_name("FILE.csv");
  command.add_flag("-f,--force", options->force, "Replace the file if it is there");
  return {command, options};
}

}  // namespace

void add_read_commands(const command_line& program, const common_options& common) {
  {
    const auto [command, options] = add_command(
        program, "read", "Print samples of variables: a table on a terminal, else CSV", " VARIABLE...");
    add_index_option(command, options->place);
    command.add_flag("--csv", options->as_csv, "CSV on a terminal too");
    command.callback([options = options, &common] { read(common, *options); });
  }
  {
    const auto [command, options] = add_command(
        program, "export", "Write a file's places and variables as CSV (default: all that it stores)",
        " [VARIABLE...]");
    options->as_csv = true;
    command.add_flag("--geojson", options->as_geojson,
                     "GeoJSON points with the variables as properties (also for a FILE.geojson)");
    command.add_flag("--skip-missing", options->skip_missing,
                     "Leave out samples where all number variables are missing");
    command.callback([options = options, &common] { export_file(common, *options); });
  }
}

}  // namespace qrd::command
