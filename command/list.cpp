// qrd ls, qrd info: what is in the tree, and how it is made.
#include <cstdio>
#include <memory>

#include "command/choose.h"
#include "command/column.h"
#include "command/options.h"
#include "command/output.h"
#include "command/session.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

struct list_options {
  std::string study;
  std::string directory;
  std::string file;
  std::string variable;
  bool details = false;
};

const char* organisation_name(client::organisation kind) {
  switch (kind) {
    case client::organisation::points:
      return "points";
    case client::organisation::gravity_lines:
      return "gravity lines";
    case client::organisation::core_lines:
      return "core lines";
    case client::organisation::grid:
      return "grid";
  }
  return "unknown";
}

const char* type_name(client::variable_type type) {
  switch (type) {
    case client::variable_type::text:
      return "text";
    case client::variable_type::macro:
      return "macro";
    case client::variable_type::x:
      return "x coordinate";
    case client::variable_type::y:
      return "y coordinate";
    case client::variable_type::z:
      return "z coordinate";
    case client::variable_type::number:
      break;
  }
  return "number";
}

json optional_text(const std::optional<std::string>& text) {
  return text ? json(*text) : json();
}

// One value for each axis of the file.
template <typename T>
json axes(const T& x, const T& y, const T& z, std::int32_t dimension) {
  return dimension == 3 ? json::array({x, y, z}) : json::array({x, y});
}

json axis_names(const std::optional<std::string> (&names)[3], std::int32_t dimension) {
  return axes(optional_text(names[0]), optional_text(names[1]), optional_text(names[2]), dimension);
}

json file_json(client::connection& server, const std::string& name) {
  const client::file_info info = server.file_info();
  const auto dimension = info.dimension;
  json result = {{"file", name},
                 {"organisation", organisation_name(info.organisation)},
                 {"dimension", dimension},
                 {"samples", info.samples}};
  const bool has_lines = info.organisation == client::organisation::gravity_lines ||
                         info.organisation == client::organisation::core_lines;
  if (has_lines) result["lines"] = info.lines;
  if (info.organisation == client::organisation::grid) {
    result["origin"] = axes(info.origin.x, info.origin.y, info.origin.z, dimension);
    result["mesh"] = axes(info.mesh.x, info.mesh.y, info.mesh.z, dimension);
    result["nodes"] = axes(info.nx, info.ny, info.nz, dimension);
    result["rotated"] = info.rotated;
    result["angles"] = dimension == 3 ? json::array({info.angles[0], info.angles[1], info.angles[2]})
                                      : json::array({info.angles[0]});
  }
  result["coordinates"] = axis_names(info.coordinates, dimension);
  if (info.organisation == client::organisation::core_lines) {
    result["core begins"] = axis_names(info.core_begins, dimension);
    result["core ends"] = axis_names(info.core_ends, dimension);
  }
  if (info.sample_number) result["sample number"] = *info.sample_number;
  if (info.line_number) result["line number"] = *info.line_number;
  if (info.relative_number) result["relative number"] = *info.relative_number;
  if (info.linked_file) result["linked file"] = *info.linked_file;
  if (info.line_name) result["line name"] = *info.line_name;
  result["polygons"] = info.has_polygons;
  result["faults"] = info.has_faults;
  if (info.has_faults)
    result["fault system"] = json{{"dimension", info.faults_2d ? 2 : 3},
                                  {"faults", info.faults},
                                  {"segments", info.fault_segments},
                                  {"attributes", info.fault_attributes},
                                  {"lowest priority", info.fault_priority_lowest},
                                  {"highest priority", info.fault_priority_highest},
                                  {"priority limit", info.fault_priority_limit}};
  return result;
}

json variable_json(client::connection& server, const std::string& name) {
  const client::variable_info info = server.variable_info();
  json result = {{"variable", name}, {"type", type_name(info.type)}};
  if (info.type == client::variable_type::text)
    result["characters"] = info.characters;
  else
    result["bits"] = info.bits;
  result["implicit"] = info.implicit;
  if (info.type == client::variable_type::macro) result["indices"] = info.indices;
  result["unit"] = info.unit;
  const std::string symbol = client::value_unit(info);
  result["unit symbol"] = symbol;
  if (const std::string shown = info.unit_symbol.value_or("");
      info.has_unit.value_or(false) && shown != symbol)
    result["shown unit"] = shown;
  result["length"] = info.has_unit.value_or(false);
  return result;
}

// One line for each object of a list: its name, then what it is.
std::string details_line(const json& one) {
  const auto text_of = [&one](const char* key) { return shown_text(one[key]); };
  if (one.contains("file")) {
    std::string text =
        text_of("organisation") + "\t" + text_of("dimension") + "D\t" + text_of("samples") + " samples";
    if (one.contains("lines")) text += "\t" + text_of("lines") + " lines";
    return text;
  }
  std::string text = text_of("type") + "\t";
  text += one.contains("bits") ? text_of("bits") + " bits" : text_of("characters") + " characters";
  if (one.contains("indices")) text += "\t" + text_of("indices") + " indices";
  if (const std::string symbol = text_of("unit symbol"); !symbol.empty()) text += "\t" + symbol;
  return text;
}

void list(const common_options& common, const list_options& options) {
  with_session(common, [&](session& server) {
    const bool in_directory = !options.directory.empty();
    const bool in_file = !options.file.empty();
    if (!options.study.empty()) choose_study(*server, options.study);
    server->set_unit_mode(client::unit_mode::own);
    if (in_directory) choose_directory(*server, options.directory);
    if (in_file) choose_file(*server, options.file);
    const std::vector<std::string> names = in_file                  ? server->variables()
                                           : in_directory           ? server->files()
                                           : !options.study.empty() ? server->directories()
                                                                    : server->studies();
    json::elements described;
    if (options.details && in_directory) {
      for (const std::string& name : names) {
        if (in_file) {
          choose_variable(*server, name);
          described.push_back(variable_json(*server, name));
        } else {
          choose_file(*server, name);
          described.push_back(file_json(*server, name));
        }
      }
    }
    if (common.json) {
      print_description(described.empty() ? json(names) : json(described), true);
      return;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
      std::printf("%s", names[i].c_str());
      if (!described.empty()) std::printf("\t%s", details_line(described[i]).c_str());
      std::printf("\n");
    }
  });
}

void inform(const common_options& common, const list_options& options) {
  with_session(common, [&](session& server) {
    choose_study(*server, options.study);
    server->set_unit_mode(client::unit_mode::own);
    choose_directory(*server, options.directory);
    choose_file(*server, options.file);
    json result;
    if (options.variable.empty()) {
      result = file_json(*server, options.file);
      result["units"] = coordinate_units(*server);
      result["variables"] = server->variables();
      result["comment"] = server->comment(client::comment_owner::file);
    } else {
      choose_variable(*server, options.variable);
      result = variable_json(*server, options.variable);
      if (server->variable_info().indices > 0) {
        const client::macro_indices indices = server->macro_indices();
        result["index numbers"] = indices.numbers;
        if (indices.names) result["index names"] = *indices.names;
      }
      result["comment"] = server->comment(client::comment_owner::variable);
    }
    print_description(result, common.json);
  });
}

}  // namespace

void add_list_commands(const command_line& program, const common_options& common) {
  {
    const command_line command =
        program.add_subcommand("ls", "List studies, directories, files or variables");
    auto options = std::make_shared<list_options>();
    const option study =
        command.add_option("study", options->study, "Lists its directories").type_name("STUDY");
    const option directory = command.add_option("directory", options->directory, "Lists its files");
    directory.type_name("DIRECTORY").needs(study);
    command.add_option("file", options->file, "Lists its variables").type_name("FILE").needs(directory);
    command.add_flag("-l,--long", options->details, "Tell what each file or variable is");
    command.callback([options, &common] { list(common, *options); });
  }
  {
    const command_line command = program.add_subcommand("info", "Describe a file or a variable");
    auto options = std::make_shared<list_options>();
    command.add_option("study", options->study, "Name of the study").required().type_name("STUDY");
    command.add_option("directory", options->directory, "Name of the directory")
        .required()
        .type_name("DIRECTORY");
    command.add_option("file", options->file, "Name of the file").required().type_name("FILE");
    command.add_option("variable", options->variable, "Name of the variable").type_name("VARIABLE");
    command.callback([options, &common] { inform(common, *options); });
  }
}

}  // namespace qrd::command
