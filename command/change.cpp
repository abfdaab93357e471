// qrd append, set, comment, grid: changes of what is there.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "command/import.h"
#include "command/interruption.h"
#include "command/names.h"
#include "command/options.h"
#include "command/place.h"
#include "command/progress.h"
#include "command/roles.h"
#include "command/session.h"
#include "qrd/names.h"

namespace qrd::command {

namespace {

// The word behind the names, of which there has to be one.
std::string last_word(const std::vector<std::string>& words, const char* type) {
  if (words.size() != 1) throw wrong_usage(std::string("give ") + type);
  return words[0];
}

struct append_options {
  std::vector<std::string> words;
  table_options table;
  axis_options axes;
  std::string line;
  std::vector<std::string> begin;
  std::vector<std::string> end;
  std::vector<std::string> skipped;
  bool force = false;
};

constexpr const char* append_type = "STUDY DIRECTORY FILE TABLE";

// The columns of the places; of cores the begins, then the ends.
std::vector<std::size_t> place_columns(const formats::text_table& table, const client::table& file,
                                       const append_options& options) {
  std::vector<std::size_t> places;
  if (file.info().organisation == client::organisation::core_lines || !options.begin.empty()) {
    for (const char kind : {'B', 'E'}) {
      const auto& given = kind == 'B' ? options.begin : options.end;
      for (std::size_t axis = 0; axis < static_cast<std::size_t>(file.info().dimension); ++axis) {
        const std::string usual = std::string(1, static_cast<char>('X' + axis)) + kind +
                                  (kind == 'B' ? "+ Begin of Sample" : "+ End of Sample");
        places.push_back(table.index_of(axis < given.size() ? given[axis] : usual));
      }
    }
    return places;
  }
  axis_options axes = options.axes;
  if (file.info().dimension == 3 && axes.z.empty() && table.find("z")) axes.z = "z";
  places = axis_columns(table, axes);
  if (places.size() != static_cast<std::size_t>(file.info().dimension))
    throw client::error("the file has " + std::to_string(file.info().dimension) + " coordinates, the table " +
                        std::to_string(places.size()) + ": name them with --x, --y and --z");
  return places;
}

// The variables of the file that the table has columns for.
struct appended_columns {
  std::vector<read_column> columns;
  std::vector<client::column> targets;
};

appended_columns find_variables(const formats::text_table& table, client::table& file,
                                const append_options& options, const std::vector<std::size_t>& used) {
  appended_columns found;
  std::map<std::size_t, std::string> meant;
  for (const std::string& variable : file.names())
    if (const auto column = table.find(variable)) meant.emplace(*column, variable);
  for (std::size_t i = 0; i < table.names().size(); ++i) {
    const auto known = meant.find(i);
    const std::string& name = known != meant.end() ? known->second : table.names()[i];
    const auto is_skipped = [&](const std::string& one) { return table.index_of(one) == i; };
    if (std::find(used.begin(), used.end(), i) != used.end() || name.ends_with(" (READONLY)") ||
        std::any_of(options.skipped.begin(), options.skipped.end(), is_skipped))
      continue;
    // The centres of cores are computed again.
    if (std::find(std::begin(file.info().coordinates), std::end(file.info().coordinates), name) !=
        std::end(file.info().coordinates))
      continue;
    client::column target = file.open(name);
    if (target.info.implicit)
      throw client::error("the variable \"" + name + "\" is computed: leave it out with --skip");
    found.columns.push_back({i, {target.info.bits, target.is_text() ? target.info.characters : 0, 0}, false});
    found.targets.push_back(std::move(target));
  }
  return found;
}

// Where the lines of the table begin, and where the last one ends.
std::vector<std::size_t> line_ends(formats::text_table& table, const append_options& options,
                                   std::size_t rows) {
  std::vector<std::size_t> ends;
  const auto column = place_column(table, options.line, {"LN+ Line Number (READONLY)"});
  if (column) {
    std::string last;
    std::size_t row = 0;
    std::vector<std::string> seen;
    table.each_row([&](std::span<const std::string_view> cells, std::size_t line) {
      if (row > 0 && cells[*column] != last) {
        ends.push_back(row);
        seen.push_back(last);
        if (std::find(seen.begin(), seen.end(), cells[*column]) != seen.end())
          throw client::error(table.where(line) + ": the line \"" + std::string(cells[*column]) +
                              "\" goes on behind another one");
      }
      last = cells[*column];
      ++row;
      return true;
    });
  }
  ends.push_back(rows);
  return ends;
}

std::vector<double> part_of(const table_block& all, std::size_t first_column, std::size_t columns,
                            std::size_t first, std::size_t last) {
  std::vector<double> values;
  for (std::size_t i = first_column; i < first_column + columns; ++i) {
    const auto begin = all.columns[i].numbers.begin();
    values.insert(values.end(), begin + static_cast<std::ptrdiff_t>(first),
                  begin + static_cast<std::ptrdiff_t>(last));
  }
  return values;
}

void append_samples(formats::text_table& table, client::table& file, const append_options& options,
                    const table_block& all, std::size_t places) {
  const std::int32_t dimension = file.info().dimension;
  const auto axes = static_cast<std::size_t>(dimension);
  if (!file.has_lines()) {
    const std::size_t block = (std::size_t{1} << 20) / axes;
    for (std::size_t first = 0; first < all.rows(); first += block) {
      check_interruption();
      const std::size_t last = std::min(all.rows(), first + block);
      file.owner().at(file.place()).append_points(dimension, part_of(all, 0, axes, first, last));
    }
    return;
  }
  const bool cores = places == 2 * axes;
  std::size_t first = 0;
  for (const std::size_t last : line_ends(table, options, all.rows())) {
    check_interruption();
    client::connection& server = file.owner().at(file.place());
    if (cores) {
      const std::vector<double> start = part_of(all, 0, axes, first, first + 1);
      server.append_cores(dimension, {start[0], start[1], axes == 3 ? start[2] : 0},
                          part_of(all, axes, axes, first, last));
    } else {
      server.append_line(dimension, part_of(all, 0, axes, first, last));
    }
    first = last;
  }
}

void append(const common_options& common, const append_options& options) {
  need_names(options.words, file_levels + 1, append_type);
  with_database(common, [&](client::database& database) {
    std::vector<std::string> words = options.words;
    client::table file(database, take_file(database, words));
    formats::text_table table(last_word(words, append_type), options.table.wishes);
    if (file.is_grid()) throw client::error("a grid has all its nodes already");
    if (const auto& other = file.info().linked_file; other && !options.force)
      throw client::error("more samples end the link with the file \"" + *other +
                          "\". --force appends all the same");
    // All is looked at before anything is written: samples can't be taken away again.
    std::vector<std::size_t> places = place_columns(table, file, options);
    std::vector<std::size_t> used = places;
    if (!options.line.empty() && !table.find(options.line)) table.index_of(options.line);
    const appended_columns variables = find_variables(table, file, options, used);
    std::vector<read_column> columns;
    for (const std::size_t place : places) columns.push_back({place, {64, 0, 0}, true});
    columns.insert(columns.end(), variables.columns.begin(), variables.columns.end());
    const table_block all = read_whole(table, options.table.cells, columns);
    if (all.rows() == 0) throw client::error("the table has no rows");

    const interruption_guard guard;
    database.use_unit("");
    const std::int64_t before = file.samples();
    append_samples(table, file, options, all, places.size());
    file.refresh();
    client::writing wish;
    wish.range = {before + 1, before + static_cast<std::int64_t>(all.rows())};
    for (std::size_t i = 0; i < variables.targets.size(); ++i) {
      check_interruption();
      const client::column_values& values = all.columns[places.size() + i];
      if (variables.targets[i].is_text())
        file.write(variables.targets[i], values.texts, wish);
      else
        file.write(variables.targets[i], values.numbers, wish);
    }
    if (!common.quiet)
      std::printf("%zu samples appended, %lld in all\n", all.rows(), static_cast<long long>(file.samples()));
  });
}

struct set_options {
  std::vector<std::string> words;
  std::string unit;
  std::string index;
  bool force = false;
};

constexpr const char* set_type = "STUDY DIRECTORY FILE VARIABLE SAMPLE VALUE";

void set_value(const common_options& common, const set_options& options) {
  need_names(options.words, 5, set_type);
  with_database(common, [&](client::database& database) {
    std::vector<std::string> words = options.words;
    client::table file(database, take_file(database, words));
    if (words.size() != 3) throw wrong_usage(std::string("give ") + set_type);
    const client::column target = file.open(words[0], options.index);
    const auto role = role_of(target.variable.name, target.info, file.info());
    if (role && !options.force)
      throw client::error("the variable \"" + words[0] + "\" " + *role +
                          ". --force writes into it all the same");
    // A table of one cell: what values are is told in one place.
    formats::text_table sample(formats::input::of_text("sample\n" + words[1] + "\n"), {});
    const double number = read_whole(sample, {}, {{0, {64, 0, 0}, true}}).columns[0].numbers.at(0);
    if (!(number >= 1 && number <= static_cast<double>(file.samples())) || number != std::floor(number))
      throw client::error("there is no sample " + words[1] + ": the file has " +
                          std::to_string(file.samples()));
    formats::table_wishes plain;
    plain.separator = '\n';
    plain.quote = '\0';
    plain.comment = "";
    plain.names = true;
    plain.decimal_comma = false;
    formats::text_table cell(formats::input::of_text("value\n" + words[2] + "\n"), plain);
    const client::column_values value =
        read_whole(cell, {},
                   {{0, {target.info.bits, target.is_text() ? target.info.characters : 0, 0}, false}})
            .columns[0];
    client::writing wish;
    const auto place = static_cast<std::int64_t>(number);
    wish.range = {place, place};
    wish.unit = options.unit;
    if (target.is_text())
      file.write(target, value.texts, wish);
    else
      file.write(target, value.numbers, wish);
  });
}

struct comment_options {
  std::vector<std::string> words;
  std::string text;
  bool is_set = false;
};

constexpr const char* comment_type = "STUDY DIRECTORY FILE [VARIABLE]";

void comment(const common_options& common, const comment_options& options) {
  need_names(options.words, file_levels, comment_type);
  with_database(common, [&](client::database& database) {
    std::vector<std::string> words = options.words;
    const object_path path = take_path(database, words, all_levels);
    if (!words.empty() || path.size() < file_levels) throw wrong_usage(std::string("give ") + comment_type);
    client::connection& server = choose(database, path);
    const auto owner =
        path.size() == file_levels ? client::comment_owner::file : client::comment_owner::variable;
    if (options.is_set) {
      server.set_comment(owner, options.text);
      return;
    }
    const std::string text = server.comment(owner);
    std::printf("%s%s", text.c_str(), text.ends_with('\n') ? "" : "\n");
  });
}

struct grid_change {
  std::vector<std::string> words;
  std::vector<double> origin;
  std::vector<double> mesh;
  std::vector<double> rotation;
  std::string unit;
};

void change_grid(const common_options& common, const grid_change& options) {
  need_names(options.words, file_levels, "STUDY DIRECTORY FILE");
  with_database(common, [&](client::database& database) {
    std::vector<std::string> words = options.words;
    const client::table file(database, take_file(database, words));
    if (!words.empty()) throw wrong_usage("give STUDY DIRECTORY FILE");
    if (!file.is_grid()) throw client::error("the file is no grid");
    const auto dimension = static_cast<std::size_t>(file.info().dimension);
    const auto axes = [&](const std::vector<double>& values, const char* option) {
      if (values.size() != dimension)
        throw client::error(std::string(option) + " needs one value for each of the " +
                            std::to_string(dimension) + " axes");
      return client::point3{values[0], values[1], dimension > 2 ? values[2] : 0};
    };
    const std::size_t angles = dimension == 2 ? 1 : 3;
    if (!options.rotation.empty() && options.rotation.size() != angles)
      throw client::error("--rotation needs " + std::to_string(angles) +
                          (angles == 1 ? " angle" : " angles"));
    if (std::any_of(options.mesh.begin(), options.mesh.end(), [](double one) { return !(one > 0); }))
      throw client::error("--mesh needs values above 0");
    if (options.origin.empty() && options.mesh.empty() && options.rotation.empty())
      throw wrong_usage("give --origin, --mesh or --rotation");
    const auto origin = options.origin.empty() ? client::point3{} : axes(options.origin, "--origin");
    const auto mesh = options.mesh.empty() ? client::point3{} : axes(options.mesh, "--mesh");
    database.use_unit(options.unit);
    client::connection& server = database.at(file.place());
    if (!options.origin.empty()) server.set_grid_origin(origin);
    if (!options.mesh.empty()) server.set_grid_mesh(mesh);
    if (!options.rotation.empty())
      server.set_grid_rotation(options.rotation[0], angles == 3 ? options.rotation[1] : 0,
                               angles == 3 ? options.rotation[2] : 0);
  });
}

}  // namespace

void add_change_commands(const command_line& program, const common_options& common) {
  {
    const command_line command =
        program.add_subcommand("append", "Add samples with their values to points or lines");
    auto options = std::make_shared<append_options>();
    add_names(command, options->words, append_type, "The file, and the table to read, - for standard input");
    add_axis_options(command, options->axes, "but z where the file is 3D");
    command
        .add_option("--line", options->line, "Column that tells the new line of a row (default: all are one)")
        .type_name("NAME");
    command.add_option("--begin", options->begin, "Cores: columns of their begins")
        .type_name("NAME")
        .expected(2, 3);
    command.add_option("--end", options->end, "Cores: columns of their ends")
        .type_name("NAME")
        .expected(2, 3);
    command.add_option("--skip", options->skipped, "Column to leave out").type_name("NAME").one_at_a_time();
    command.add_flag("-f,--force", options->force, "Also to a file whose link with another one ends by that");
    add_table_options(command, options->table);
    command.callback([options, &common] { append(common, *options); });
  }
  {
    const command_line command = program.add_subcommand("set", "Set the value of one sample; NA for none");
    auto options = std::make_shared<set_options>();
    add_names(command, options->words, set_type,
              "The variable, the number of the sample from 1, and the value");
    command.add_option("--index", options->index, "Column of macro variables, by number or name");
    command.add_flag("-f,--force", options->force,
                     "Also of variables that the file needs, such as coordinates");
    add_unit_options(command, options->unit);
    command.callback([options, &common] { set_value(common, *options); });
  }
  {
    const command_line command =
        program.add_subcommand("comment", "Show or set the comment of a file or variable");
    auto options = std::make_shared<comment_options>();
    add_names(command, options->words, comment_type, "Whose comment");
    command
        .add_word_option(
            "--set",
            [options](const std::string& text) {
              options->text = text;
              options->is_set = true;
            },
            "The new comment")
        .type_name("TEXT");
    command.callback([options, &common] { comment(common, *options); });
  }
  {
    const command_line command = program.add_subcommand("grid", "Move a grid, change its mesh or turn it");
    auto options = std::make_shared<grid_change>();
    add_names(command, options->words, "STUDY DIRECTORY FILE", "The grid");
    command.add_option("--origin", options->origin, "First node").expected(2, 3);
    command.add_option("--mesh", options->mesh, "Distance of neighbours along each axis").expected(2, 3);
    command.add_option("--rotation", options->rotation, "Angles in degrees, 1 in 2D, 3 in 3D").expected(1, 3);
    add_unit_options(command, options->unit);
    command.callback([options, &common] { change_grid(common, *options); });
  }
}

}  // namespace qrd::command
