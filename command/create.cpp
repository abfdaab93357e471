// qrd new, qrd link: makes what import does not make.
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>
#include <set>

#include "command/cells.h"
#include "command/choose.h"
#include "command/column.h"
#include "command/options.h"
#include "command/session.h"
#include "command/undo.h"
#include "qrd/names.h"

namespace qrd::command {

namespace {

constexpr std::string_view generic_suffix = "[xxxxx]";

struct new_options {
  std::string study;
  std::string directory;
  std::string file;
  std::string name;
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

void new_study(const common_options& common, const new_options& options) {
  client::check_new_name(options.study, "study");
  std::string path = options.path.empty() ? study_path(common, options.study) : options.path;
  if (common.server.empty()) path = std::filesystem::absolute(path).lexically_normal().string();
  with_session(
      common, [&](session& server) { server->new_study(options.study, path); }, root_use::made_if_missing);
}

void new_directory(const common_options& common, const new_options& options) {
  client::check_new_name(options.directory, "directory");
  with_session(common, [&](session& server) {
    choose_study(*server, options.study);
    server->new_directory(options.directory);
  });
}

void in_directory(const common_options& common, const new_options& options,
                  const std::function<void(client::connection&)>& act) {
  client::check_new_name(options.file, "file");
  with_session(common, [&](session& server) {
    choose_study(*server, options.study);
    server->set_unit_mode(client::unit_mode::own);
    server->set_creation_units(options.coordinate_unit, options.coordinate_unit, options.coordinate_unit);
    choose_directory(*server, options.directory);
    act(*server);
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
  in_directory(common, options,
               [&](client::connection& server) { server.new_points(options.file, dimension, coordinates); });
}

// The three values of an option that takes one for each axis.
client::point3 axis_values(const std::vector<double>& values, std::size_t dimension, double missing,
                           const char* option) {
  if (values.empty()) return {missing, missing, dimension == 3 ? missing : 0};
  if (values.size() != dimension)
    throw client::error(std::string(option) + " needs one value for each of the " +
                        std::to_string(dimension) + " axes");
  return {values[0], values[1], dimension == 3 ? values[2] : 0};
}

void new_grid(const common_options& common, const new_options& options) {
  const std::size_t dimension = options.nodes.size();
  client::grid_geometry grid;
  grid.dimension = static_cast<std::int32_t>(dimension);
  grid.origin = axis_values(options.origin, dimension, 0, "--origin");
  grid.mesh = axis_values(options.mesh, dimension, 1, "--mesh");
  grid.nx = options.nodes[0];
  grid.ny = options.nodes[1];
  grid.nz = dimension == 3 ? options.nodes[2] : 1;
  std::vector<double> angles = options.rotation;
  angles.resize(3, 0);
  in_directory(common, options, [&](client::connection& server) {
    const auto make = [&](bool& made) {
      server.new_grid(options.file, grid);
      made = true;
      if (options.rotation.empty()) return;
      server.set_file(options.file);
      server.set_grid_rotation(angles[0], angles[1], angles[2]);
    };
    make_or_undo(common, server, make, [&](client::connection& again) {
      again.set_study(options.study);
      again.set_directory(options.directory);
      again.set_file(options.file);
      again.delete_file();
    });
  });
}

void new_lines(const common_options& common, const new_options& options) {
  in_directory(common, options,
               [&](client::connection& server) { server.new_lines(options.file, options.dimension); });
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

void in_file(const common_options& common, const new_options& options,
             const std::function<void(client::connection&)>& act) {
  with_session(common, [&](session& server) {
    choose_study(*server, options.study);
    choose_directory(*server, options.directory);
    choose_file(*server, options.file);
    act(*server);
  });
}

void new_variable(const common_options& common, const new_options& options) {
  client::check_new_name(options.name, "variable");
  in_file(common, options, [&](client::connection& server) {
    if (options.text_width > 0)
      server.new_text_variable(options.name, options.text_width);
    else
      server.new_float_variable(options.name, options.bits, wanted_format(options), wanted_unit(options));
  });
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

void new_macro(const common_options& common, const new_options& options) {
  check_indices(options);
  std::string name = options.name;
  if (!name.ends_with(generic_suffix)) name += generic_suffix;
  client::check_new_name(name, "macro variable");
  in_file(common, options, [&](client::connection& server) {
    const auto make = [&](bool& made) {
      if (options.indices.empty() || !server.variable_exists(name)) {
        server.new_macro_variable(name, options.bits, wanted_format(options), wanted_unit(options));
        made = true;
      }
      if (options.indices.empty()) return;
      server.set_variable(name);
      std::optional<std::vector<std::string>> names;
      if (!options.index_names.empty()) names = options.index_names;
      server.add_macro_indices(options.indices, names);
    };
    make_or_undo(common, server, make, [&](client::connection& again) {
      again.set_study(options.study);
      again.set_directory(options.directory);
      again.set_file(options.file);
      again.set_variable(name);
      again.delete_variable();
    });
  });
}

struct link_options {
  std::string study;
  std::string directory;
  std::string lines;
  std::string points;
  std::string names;
};

void link(const common_options& common, const link_options& options) {
  with_session(common, [&](session& server) {
    choose_study(*server, options.study);
    choose_directory(*server, options.directory);
    choose_file(*server, options.lines);
    server->link_lines(options.points);
    if (options.names.empty()) return;
    choose_file(*server, options.points);
    choose_variable(*server, options.names);
    server->set_line_name();
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
  const auto add = [&](const char* name, const char* text, int levels,
                       void (*act)(const common_options&, const new_options&)) {
    const command_line command = create.add_subcommand(name, text);
    auto options = std::make_shared<new_options>();
    command.add_option("study", options->study, "Name of the study").required().type_name("STUDY");
    if (levels > 1)
      command.add_option("directory", options->directory, "Name of the directory")
          .required()
          .type_name("DIRECTORY");
    if (levels > 2)
      command.add_option("file", options->file, "Name of the file").required().type_name("FILE");
    if (levels > 3)
      command.add_option("variable", options->name, "Name of the variable").required().type_name("VARIABLE");
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
    command.add_option("indices", options->indices, "Numbers of its columns, 1 to 99999").type_name("INDEX");
    command.add_option("--names", options->index_names, "Names of the columns, one for each index")
        .type_name("NAME");
    add_number_options(command, *options);
  }

  const command_line command =
      program.add_subcommand("link", "Link a lines file with the points file of its line heads");
  auto options = std::make_shared<link_options>();
  command.add_option("study", options->study, "Name of the study").required().type_name("STUDY");
  command.add_option("directory", options->directory, "Name of the directory")
      .required()
      .type_name("DIRECTORY");
  command.add_option("lines", options->lines, "Name of the lines file").required().type_name("LINES");
  command.add_option("points", options->points, "Name of the points file").required().type_name("POINTS");
  command.add_option("--names", options->names, "Text variable of the points that names the lines")
      .type_name("VARIABLE");
  command.callback([options, &common] { link(common, *options); });
}

}  // namespace qrd::command
