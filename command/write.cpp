// qrd write: samples from a table into variables that are there.
#include <memory>

#include "command/cells.h"
#include "command/interruption.h"
#include "command/key_join.h"
#include "command/options.h"
#include "command/place.h"
#include "command/progress.h"
#include "command/roles.h"
#include "command/session.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

constexpr const char* write_names = "STUDY DIRECTORY FILE VARIABLE...";

struct write_options {
  place_options place;
  std::vector<std::string> variables;
  std::vector<std::string> columns;
  std::string keys;  // names with "," between them
  table_options table;
  bool force = false;
};

std::vector<std::string> names_in(const std::string& list) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    names.push_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
  return names;
}

read_column as_variable(const formats::text_table& table, const std::string& title,
                        const client::column& variable) {
  return {table.index_of(title),
          {variable.info.bits, variable.is_text() ? variable.info.characters : 0, 0},
          false};
}

// The variables that are written, and their columns in the table.
struct write_plan {
  std::vector<client::column> targets;
  std::vector<read_column> columns;
};

write_plan plan_writing(const formats::text_table& table, client::table& file, const write_options& options) {
  write_plan plan;
  for (std::size_t i = 0; i < options.variables.size(); ++i) {
    client::column target = file.open(options.variables[i], options.place.index);
    const auto role = role_of(target.variable.name, target.info, file.info());
    if (role && !options.force)
      throw client::error("the variable \"" + options.variables[i] + "\" " + *role +
                          ". --force writes into it all the same");
    const std::string& title = options.columns.empty() ? options.variables[i] : options.columns[i];
    plan.columns.push_back(as_variable(table, title, target));
    plan.targets.push_back(std::move(target));
  }
  return plan;
}

void write_values(client::table& file, const client::column& target, const client::column_values& values,
                  const client::writing& wish) {
  check_interruption();
  if (target.is_text())
    file.write(target, values.texts, wish);
  else
    file.write(target, values.numbers, wish);
}

// Row for row into the samples of the range.
void write_rows(const common_options& common, const write_options& options, formats::text_table& table,
                client::table& file, const client::reading& where) {
  const write_plan plan = plan_writing(table, file, options);
  const bool compressed = where.use == client::selection_use::compressed;
  const table_block all = read_whole(table, options.table.cells, plan.columns);
  const auto samples = static_cast<std::uint64_t>(where.range->last - where.range->first + 1);
  if (!compressed && all.rows() != samples)
    throw client::error("the table has " + std::to_string(all.rows()) + " rows for " +
                        std::to_string(samples) + " samples");
  progress_bar bar("writing", all.rows() * plan.targets.size(), common.quiet);
  std::uint64_t done = 0;
  client::writing wish{where.range, where.selection, where.use, where.unit,
                       [&](std::uint64_t now, std::uint64_t) { bar.show(done + now); }};
  for (std::size_t i = 0; i < plan.targets.size(); ++i) {
    write_values(file, plan.targets[i], all.columns[i], wish);
    done += all.rows();
  }
}

void tell_unmatched(const joined_rows& joined, const table_block& rows) {
  constexpr std::size_t shown = 5;
  const std::size_t count = joined.without_sample.size();
  if (count == 0) return;
  std::string lines;
  for (std::size_t i = 0; i < std::min(shown, count); ++i)
    lines += (i == 0 ? ": line " : ", line ") + std::to_string(rows.lines[joined.without_sample[i]]);
  std::fprintf(stderr, "qrd: %zu of %zu rows %s no sample%s%s\n", count, rows.rows(),
               count == 1 ? "has" : "have", lines.c_str(), count > shown ? ", ..." : "");
}

// The values of one variable for the samples that have a row. Where these are many and scattered, the values
// between them are read and written again.
void write_joined(client::table& file, const client::column& target, const client::column_values& values,
                  const joined_rows& joined, const std::string& unit) {
  constexpr std::size_t most_runs = 1000;
  const auto& samples = joined.row_of_sample;
  std::size_t runs = 1;
  for (std::size_t i = 1; i < samples.size(); ++i)
    runs += samples[i].first == samples[i - 1].first + 1 ? 0 : 1;
  const bool whole = runs > most_runs;
  for (std::size_t begin = 0; begin < samples.size();) {
    std::size_t end = begin + 1;
    while (end < samples.size() && (whole || samples[end].first == samples[end - 1].first + 1)) ++end;
    const client::sample_range range{static_cast<std::int64_t>(samples[begin].first) + 1,
                                     static_cast<std::int64_t>(samples[end - 1].first) + 1};
    client::column_values part;
    const std::size_t size = static_cast<std::size_t>(range.last - range.first + 1);
    if (whole) part = file.read(target, {range, {}, {}, unit, {}});
    part.texts.resize(target.is_text() ? size : 0);
    part.numbers.resize(target.is_text() ? 0 : size);
    for (std::size_t i = begin; i < end; ++i) {
      const std::size_t place = samples[i].first - samples[begin].first;
      if (target.is_text())
        part.texts[place] = values.texts[samples[i].second];
      else
        part.numbers[place] = values.numbers[samples[i].second];
    }
    write_values(file, target, part, {range, {}, {}, unit, {}});
    begin = end;
  }
}

// Each row into the samples that have its key.
void write_by_keys(const common_options& common, const write_options& options, formats::text_table& table,
                   client::table& file) {
  write_plan plan = plan_writing(table, file, options);
  const std::size_t values = plan.columns.size();
  std::vector<client::column> keys;
  for (const std::string& name : names_in(options.keys)) {
    keys.push_back(file.open(name, options.place.index));
    read_column column = as_variable(table, name, keys.back());
    // A key that no sample can have is one without a sample.
    if (keys.back().is_text())
      column.type.characters = 1 << 20;
    else
      column.type.bits = 64;
    plan.columns.push_back(column);
  }
  table_block rows = read_whole(table, options.table.cells, plan.columns);
  std::vector<client::column_values> row_keys(rows.columns.begin() + static_cast<std::ptrdiff_t>(values),
                                              rows.columns.end());
  std::vector<client::column_values> sample_keys;
  for (const client::column& key : keys)
    sample_keys.push_back(file.read(key, {{}, {}, {}, options.place.unit, {}}));
  const auto samples = static_cast<std::size_t>(file.samples());
  const joined_rows joined = join_keys(key_texts(sample_keys, samples), key_texts(row_keys, rows.rows()));
  for (std::size_t i = 0; i < plan.targets.size(); ++i)
    write_joined(file, plan.targets[i], rows.columns[i], joined, options.place.unit);
  tell_unmatched(joined, rows);
  if (!common.quiet) std::printf("%zu of %zu samples written\n", joined.row_of_sample.size(), samples);
}

void write(const common_options& common, write_options options) {
  need_names(options.place.words, 4, write_names);
  with_database(common, [&](client::database& all) {
    client::table file(all, take_file(all, options.place.words));
    options.variables = options.place.words;
    if (!options.columns.empty() && options.columns.size() != options.variables.size())
      throw client::error("--column has to name one column for each variable");
    formats::text_table table(options.table.path, options.table.wishes);
    all.use_unit(options.place.unit);
    if (!options.keys.empty()) {
      write_by_keys(common, options, table, file);
      return;
    }
    const auto range = reading_of(file, options.place);
    if (!range) throw client::error("the file has no samples to write");
    write_rows(common, options, table, file, *range);
  });
}

}  // namespace

void add_write_command(const command_line& program, const common_options& common) {
  const command_line command = program.add_subcommand("write", "Write columns of a table into variables");
  auto options = std::make_shared<write_options>();
  add_names(command, options->place.words, write_names,
            "The file, also as STUDY/DIRECTORY/FILE, and its variables; a macro column also as stem[12] or "
            "stem{name}");
  command.add_option("-i,--input", options->table.path, "Table to read (default: standard input)")
      .type_name("FILE.csv");
  command
      .add_option("--column", options->columns, "Columns, one for each variable (default: of the same names)")
      .type_name("NAME")
      .one_at_a_time();
  add_table_options(command, options->table);
  command.add_flag("-f,--force", options->force,
                   "Write into variables that the file needs, such as coordinates");
  const option key = command.add_option(
      "--key", options->keys,
      "Variables, and columns of the same names, that tell which samples a row is for: x,y or ID");
  key.type_name("NAME[,NAME...]");
  add_range_options(command, options->place);
  add_index_option(command, options->place);
  add_unit_options(command, options->place.unit);
  command.callback([options, &common] { write(common, *options); });
}

}  // namespace qrd::command
