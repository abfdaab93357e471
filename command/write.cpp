// qrd write: samples from a table into variables that are there.
#include <memory>

#include "command/cells.h"
#include "command/column.h"
#include "command/csv.h"
#include "command/import.h"
#include "command/options.h"
#include "command/progress.h"
#include "command/roles.h"
#include "command/session.h"
#include "command/write_column.h"

namespace qrd::command {

namespace {

struct write_options {
  place_options place;
  std::vector<std::string> variables;
  std::vector<std::string> columns;
  std::string input = "-";
  cell_rules cells;
  bool force = false;
};

struct source {
  column target;
  std::vector<double> numbers;
  std::vector<std::string> texts;
};

void write(const common_options& common, const write_options& options) {
  if (!options.columns.empty() && options.columns.size() != options.variables.size())
    throw client::error("--column has to name one column for each variable");
  const csv_table table = read_table(options.input);
  with_session(common, [&](session& server) {
    open_place(*server, options.place);
    const client::file_info file = server->file_info();
    const auto range = wanted_range(*server, options.place, file.samples);
    if (!range) throw client::error("the file has no samples to write");
    const bool compressed = options.place.use() == client::selection_use::compressed;
    const auto samples = static_cast<std::uint64_t>(range->last - range->first + 1);
    if (!compressed && table.rows() != samples)
      throw client::error("the table has " + std::to_string(table.rows()) + " rows for " +
                          std::to_string(samples) + " samples");

    // All is looked at before anything is written.
    std::vector<source> sources;
    for (std::size_t i = 0; i < options.variables.size(); ++i) {
      source one{open_column(*server, options.variables[i], options.place.index), {}, {}};
      const auto role = role_of(one.target.variable.name, one.target.info, file);
      if (role && !options.force)
        throw client::error("the variable \"" + options.variables[i] + "\" " + *role +
                            ". --force writes into it all the same");
      const std::string& title = options.columns.empty() ? options.variables[i] : options.columns[i];
      if (one.target.is_text())
        one.texts = to_texts(table, title, options.cells, one.target.info.characters);
      else
        one.numbers = to_numbers(table, title, options.cells, one.target.info.bits);
      sources.push_back(std::move(one));
    }
    progress_bar bar("writing", table.rows() * sources.size(), common.quiet);
    std::uint64_t done = 0;
    for (const source& one : sources) {
      select_column(*server, one.target);
      const auto show = [&](std::uint64_t rows) { bar.show(done + rows); };
      if (one.target.is_text())
        write_texts(*server, one.texts, *range, options.place.use(), show);
      else
        write_numbers(*server, one.numbers, *range, options.place.use(), show);
      done += table.rows();
    }
  });
}

}  // namespace

void add_write_command(const command_line& program, const common_options& common) {
  const command_line command = program.add_subcommand("write", "Write columns of a CSV table into variables");
  auto options = std::make_shared<write_options>();
  add_file_arguments(command, options->place);
  command.add_option("variables", options->variables, "Names; a macro column also as stem[12] or stem{name}")
      .required()
      .type_name("VARIABLE");
  command.add_option("-i,--input", options->input, "Table to read (default: standard input)")
      .type_name("FILE.csv");
  command
      .add_option("--column", options->columns, "Columns, one for each variable (default: of the same names)")
      .type_name("NAME")
      .one_at_a_time();
  add_cell_options(command, options->cells);
  command.add_flag("-f,--force", options->force,
                   "Write into variables that the file needs, such as coordinates");
  add_range_options(command, options->place);
  command.add_option("--index", options->place.index, "Column of macro variables, by number or name");
  add_unit_options(command, options->place.unit);
  command.callback([options, &common] { write(common, *options); });
}

}  // namespace qrd::command
