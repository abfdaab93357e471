// qrd new, qrd link: makes what import does not make.
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>
#include <set>

#include "command/cells.h"
#include "command/interruption.h"
#include "command/names.h"
#include "command/options.h"
#include "command/place.h"
#include "command/session.h"
#include "qrd/names.h"
#include "qrd/units.h"

namespace qrd::command {

namespace {

constexpr std::string_view generic_suffix = "[xxxxx]";

struct new_options {
  std::vector<std::string> words;  // up to the name of what is made
  std::size_t levels = 1;
  std::string type;
  std::string path;
  std::int32_t dimension = 3;
  std::string input = "-";
  std::vector<std::string> axes = {"x", "y", "z"};
  std::vector<std::int32_t> nodes;
  std::vector<double> origin;
  std::vector<double> mesh;
  std::vector<double> rotation;
  std::int32_t bits = 64;
  std::int32_t text_width = 0;
  std::string unit;
  std::string unit_text;
  bool length = false;
  std::string style = "decimal";
  client::number_format format;
  std::vector<std::int32_t> indices;
  std::vector<std::string> index_names;
  std::string coordinate_unit = "m";
};

// A place for a study of that name: what a file name can't hold, or what would be another directory, becomes
// "_".
std::string study_path(const common_options& common, const std::string& name) {
  if (common.root.empty()) throw client::error("give --path DIR, the directory that the study shall have");
  std::string folder = name;
  for (char& character : folder)
    if (std::string_view("/\\?*|\"<>:").find(character) != std::string_view::npos) character = '_';
  if (folder == "." || folder == "..") folder += '_';
  const std::filesystem::path root = common.server.empty()
                                         ? std::filesystem::absolute(common.root).lexically_normal()
                                         : std::filesystem::path(common.root);
  return (root / folder).string();
}

// Makes something; `act` gets its names and those above it.
void make(const common_options& common, const new_options& options,
          const std::function<void(client::database&, const object_path&)>& act) {
  need_names(options.words, options.levels, options.type);
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    const object_path path = take_path(all, words, options.levels, last_name::made);
    if (!words.empty()) throw wrong_usage("the names have to be " + options.type);
    client::check_new_name(path.back(), level_name(options.levels - 1));
    act(all, path);
  });
}

void new_study(const common_options& common, const new_options& options) {
  if (options.words.size() != 1) throw wrong_usage("the names have to be " + options.type);
  const std::string& name = options.words[0];
  client::check_new_name(name, "study");
  std::string path = options.path.empty() ? study_path(common, name) : options.path;
  if (common.server.empty()) path = std::filesystem::absolute(path).lexically_normal().string();
  with_database(
      common, [&](client::database& all) { all.at_root().new_study(name, path); }, root_use::made_if_missing);
}

void new_directory(const common_options& common, const new_options& options) {
  make(common, options,
       [](client::database& all, const object_path& path) { all.at(path[0]).new_directory(path[1]); });
}

// A file without variables.
void make_file(const common_options& common, const new_options& options,
               const client::new_geometry& geometry) {
  make(common, options, [&](client::database& all, const object_path& path) {
    const interruption_guard guard;
    client::make_file(all, place_of(path), geometry, nullptr, {options.coordinate_unit, {}});
  });
}

void new_points(const common_options& common, const new_options& options) {
  formats::text_table table(options.input);
  std::vector<read_column> axes;
  for (const std::string& axis : options.axes) axes.push_back({table.index_of(axis), {64, 0, 0}, true});
  std::vector<double> coordinates;
  for (const client::column_values& axis : read_whole(table, {}, axes).columns)
    coordinates.insert(coordinates.end(), axis.numbers.begin(), axis.numbers.end());
  const auto dimension = static_cast<std::int32_t>(options.axes.size());
  make_file(common, options, client::points_geometry{dimension, coordinates});
}

// The three values of an option that takes one for each axis.
client::point3 axis_values(const std::vector<double>& values, std::size_t dimension, double otherwise,
                           const char* option) {
  if (values.empty()) return {otherwise, otherwise, dimension == 3 ? otherwise : 0};
  if (values.size() != dimension)
    throw client::error(std::string(option) + " needs one value for each of the " +
                        std::to_string(dimension) + " axes");
  return {values[0], values[1], dimension == 3 ? values[2] : 0};
}

void new_grid(const common_options& common, const new_options& options) {
  const std::size_t dimension = options.nodes.size();
  client::grid_file_geometry geometry;
  client::grid_geometry& grid = geometry.grid;
  grid.dimension = static_cast<std::int32_t>(dimension);
  grid.origin = axis_values(options.origin, dimension, 0, "--origin");
  grid.mesh = axis_values(options.mesh, dimension, 1, "--mesh");
  grid.nx = options.nodes[0];
  grid.ny = options.nodes[1];
  grid.nz = dimension == 3 ? options.nodes[2] : 1;
  std::copy(options.rotation.begin(), options.rotation.end(), geometry.angles);
  make_file(common, options, geometry);
}

void new_lines(const common_options& common, const new_options& options) {
  make_file(common, options, client::lines_geometry{options.dimension, {}});
}

client::number_format wanted_format(const new_options& options) {
  constexpr std::pair<const char*, client::number_style> styles[] = {
      {"decimal", client::number_style::decimal},   {"integer", client::number_style::integer},
      {"exponent", client::number_style::exponent}, {"free", client::number_style::free},
      {"shifted", client::number_style::shifted},
  };
  client::number_format format = options.format;
  for (const auto& [name, style] : styles)
    if (options.style == name) format.style = style;
  return format;
}

// No unit text makes a length of a variable of 32 or 64 bits, in the unit that the session talks in.
std::optional<std::string> wanted_unit(const new_options& options) {
  if (options.length) return std::nullopt;
  if (!options.unit_text.empty()) {
    client::check_unit_text(options.unit_text);
    return options.unit_text;
  }
  client::check_unit(options.unit);
  return options.unit;
}

void new_variable(const common_options& common, const new_options& options) {
  make(common, options, [&](client::database& all, const object_path& path) {
    all.use_unit("m");
    client::connection& server = all.at(place_of(path));
    if (options.text_width > 0)
      server.new_text_variable(path[3], options.text_width);
    else
      server.new_float_variable(path[3], options.bits, wanted_format(options), wanted_unit(options));
  });
}

std::int32_t parse_index(const std::string& word) {
  std::int32_t index = 0;
  const auto [end, problem] = std::from_chars(word.data(), word.data() + word.size(), index);
  if (problem != std::errc() || end != word.data() + word.size())
    throw wrong_usage("\"" + word + "\" is not the number of a column");
  return index;
}

// What the server would end at, or leave without an answer.
void check_indices(const new_options& options) {
  constexpr std::int32_t highest = 99999;
  const std::set<std::int32_t> numbers(options.indices.begin(), options.indices.end());
  if (numbers.size() != options.indices.size()) throw client::error("an index is given twice");
  if (!numbers.empty() && (*numbers.begin() < 1 || *numbers.rbegin() > highest))
    throw client::error("an index lies between 1 and " + std::to_string(highest));
  if (options.index_names.empty()) return;
  if (options.index_names.size() != options.indices.size())
    throw client::error("--names has to give one name for each index");
  const std::set<std::string> names(options.index_names.begin(), options.index_names.end());
  if (names.size() != options.index_names.size()) throw client::error("a name of an index is given twice");
  for (const std::string& name : names)
    if (name.empty() || name == "None" || name == "xxxxx" || name.size() > client::max_name ||
        name.find_first_of("{}[]") != std::string::npos)
      throw client::error("\"" + name + "\" cannot be the name of an index");
}

void new_macro(const common_options& common, const new_options& given) {
  need_names(given.words, given.levels, given.type);
  with_database(common, [&](client::database& all) {
    new_options options = given;
    object_path path = take_path(all, options.words, options.levels, last_name::made);
    if (!client::is_macro_name(path[3])) path[3] += generic_suffix;
    client::check_new_name(path[3], "macro variable");
    for (const std::string& word : options.words) options.indices.push_back(parse_index(word));
    check_indices(options);
    all.use_unit("m");
    const auto act = [&](bool& made) {
      client::connection& server = all.at(place_of(path));
      if (options.indices.empty() || !server.variable_exists(path[3])) {
        server.new_macro_variable(path[3], options.bits, wanted_format(options), wanted_unit(options));
        made = true;
      }
      if (options.indices.empty()) return;
      server.set_variable(path[3]);
      std::optional<std::vector<std::string>> names;
      if (!options.index_names.empty()) names = options.index_names;
      server.add_macro_indices(options.indices, names);
      check_interruption();
    };
    const interruption_guard guard;
    client::make_or_undo(all, act, [&] { client::table(all, place_of(path)).remove(path[3]); });
  });
}

struct link_options {
  std::vector<std::string> words;
  std::string names;
};

constexpr const char* link_type = "STUDY DIRECTORY FILE POINTS";

void link(const common_options& common, const link_options& options) {
  need_names(options.words, 4, link_type);
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    const client::file_place lines = take_file(all, words);
    if (words.size() != 1) throw wrong_usage(std::string("the names have to be ") + link_type);
    const client::file_place points = {lines.study, lines.directory, words[0]};
    all.at(lines).link_lines(points.file);
    if (options.names.empty()) return;
    client::table file(all, points);
    file.open(options.names);
    all.at(points).set_line_name();
  });
}

void add_coordinate_unit(const command_line& command, new_options& options) {
  command.add_option("--coordinate-unit", options.coordinate_unit, "Unit of the coordinates (default: m)")
      .type_name("SYMBOL")
      .check(length_symbol_problem);
}

void add_number_options(const command_line& command, new_options& options) {
  command.add_option("--bits", options.bits, "Bits of a value: 1, 2, 4, 8, 16, 32 or 64 (default: 64)");
  const option unit =
      command.add_option("--unit", options.unit, "Unit; the symbol of a length unit makes a length of it")
          .type_name("SYMBOL");
  const option text =
      command.add_option("--unit-text", options.unit_text, "Unit that is mere text, such as \"feet\"");
  text.type_name("TEXT").excludes(unit);
  command.add_flag("--length", options.length, "A length in metres").excludes(unit).excludes(text);
  command.add_option("--format", options.style, "How values are shown (default: decimal)")
      .one_of({"decimal", "integer", "exponent", "free", "shifted"});
  command.add_option("--width", options.format.width, "Characters of a shown value (default: 10)")
      .range(3, 19);
  command.add_option("--digits", options.format.digits, "Decimals of a shown value (default: 2)").range(0, 9);
}

}  // namespace

void add_create_commands(const command_line& program, const common_options& common) {
  const command_line create =
      program.add_subcommand("new", "Make a study, a directory, a file or a variable");
  create.require_subcommand();
  const auto add = [&](const char* name, const char* text, std::size_t levels,
                       void (*act)(const common_options&, const new_options&)) {
    static constexpr const char* types[] = {"STUDY", "STUDY DIRECTORY", "STUDY DIRECTORY FILE",
                                            "STUDY DIRECTORY FILE VARIABLE"};
    const command_line command = create.add_subcommand(name, text);
    auto options = std::make_shared<new_options>();
    options->levels = levels;
    options->type = types[levels - 1];
    const bool has_indices = std::string_view(name) == "macro";
    add_names(command, options->words, options->type + (has_indices ? " [INDEX...]" : ""),
              has_indices ? "What to make, and where; numbers of its columns, 1 to 99999"
                          : "What to make, and where");
    command.callback([options, &common, act] { act(common, *options); });
    return std::pair(command, options);
  };

  {
    const auto [command, options] = add("study", "Make a study; makes the root too if need be", 1, new_study);
    command.add_option("--path", options->path, "Its directory (default: its name below the root)")
        .type_name("DIR");
  }
  add("directory", "Make a directory in a study", 2, new_directory);
  {
    const auto [command, options] =
        add("points", "Make a points file from the places in a CSV table", 3, new_points);
    command.add_option("-i,--input", options->input, "Table to read (default: standard input)")
        .type_name("FILE.csv");
    command.add_option("--axes", options->axes, "Columns of the coordinates, 2 or 3 (default: x y z)")
        .expected(2, 3);
    add_coordinate_unit(command, *options);
  }
  {
    const auto [command, options] = add("grid", "Make a grid file", 3, new_grid);
    command.add_option("--nodes", options->nodes, "Nodes along each axis, 2 or 3 numbers")
        .required()
        .expected(2, 3);
    command.add_option("--origin", options->origin, "First node (default: 0)").expected(2, 3);
    command.add_option("--mesh", options->mesh, "Distance of neighbours along each axis (default: 1)")
        .expected(2, 3);
    command.add_option("--rotation", options->rotation, "Angles in degrees, 1 in 2D, 3 in 3D").expected(1, 3);
    add_coordinate_unit(command, *options);
  }
  {
    const auto [command, options] = add("lines", "Make a lines file without lines", 3, new_lines);
    command.add_option("--dimension", options->dimension, "2 or 3 (default: 3)").range(2, 3);
    add_coordinate_unit(command, *options);
  }
  {
    const auto [command, options] = add("variable", "Make a variable", 4, new_variable);
    command.add_option("--text", options->text_width, "A text variable of so many characters")
        .range(1, 1 << 20);
    add_number_options(command, *options);
  }
  {
    const auto [command, options] =
        add("macro", "Make a macro variable, or add columns to one that is there", 4, new_macro);
    command.add_option("--names", options->index_names, "Names of the columns, one for each index")
        .type_name("NAME");
    add_number_options(command, *options);
  }
  add_selection_command(create, common);

  const command_line command =
      program.add_subcommand("link", "Link a lines file with the points file of its line heads");
  auto options = std::make_shared<link_options>();
  add_names(command, options->words, link_type,
            "The file of the lines, and in its directory that of the points");
  command.add_option("--names", options->names, "Text variable of the points that names the lines")
      .type_name("VARIABLE");
  command.callback([options, &common] { link(common, *options); });
}

}  // namespace qrd::command
