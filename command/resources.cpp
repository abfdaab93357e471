// qrd palettes, scales, vendor: what hangs on a study and its objects.
#include <memory>

#include "command/choose.h"
#include "command/options.h"
#include "command/output.h"
#include "command/session.h"

namespace qrd::command {

namespace {

struct resource_options {
  std::string study;
  std::string name;
};

json palette_json(client::connection& server, const std::string& name) {
  json colours = json::array();
  for (const client::rgb& colour : server.palette(name))
    colours.push_back({{"red", colour[0]}, {"green", colour[1]}, {"blue", colour[2]}});
  return {{"palette", name}, {"colours", colours}};
}

const char* kind_name(client::scale_kind kind) {
  switch (kind) {
    case client::scale_kind::automatic:
      return "automatic";
    case client::scale_kind::classes:
      return "classes";
    case client::scale_kind::manual:
      return "manual";
    case client::scale_kind::facies:
      return "facies";
  }
  return "unknown";
}

json scale_json(client::connection& server, const std::string& name) {
  const client::colour_scale scale = server.scale(name);
  json told = {{"scale", name},
               {"kind", kind_name(scale.kind)},
               {"read only", scale.read_only},
               {"palette", scale.palette},
               {"classes", scale.classes}};
  if (scale.kind == client::scale_kind::manual) {
    told["bounds"] = scale.bounds;
    told["palette indices"] = scale.palette_indices;
  }
  if (scale.kind == client::scale_kind::facies) {
    json intervals = json::array(), facies = json::array();
    for (const client::facies_interval& one : scale.intervals)
      intervals.push_back({{"from", one.minimum}, {"to", one.maximum}, {"palette index", one.palette_index}});
    for (const client::facies_class& one : scale.facies)
      facies.push_back({{"label", one.label}, {"colour", one.colour}});
    told["integer bounds"] = scale.integer_bounds;
    told["intervals"] = intervals;
    told["facies"] = facies;
  }
  return told;
}

// Lists the names, or shows the named one.
void show(const common_options& common, const resource_options& options,
          std::vector<std::string> (client::connection::*names)(),
          json (*describe)(client::connection&, const std::string&)) {
  with_session(common, [&](session& server) {
    choose_study(*server, options.study);
    if (!options.name.empty()) {
      print_description(describe(*server, options.name), common.json);
      return;
    }
    const std::vector<std::string> all = ((*server).*names)();
    if (common.json) {
      print_description(all, true);
      return;
    }
    for (const std::string& name : all) std::printf("%s\n", name.c_str());
  });
}

json number_json(double value) {
  return value == client::missing_value ? json() : json(value);
}

struct vendor_options {
  std::string study;
  std::string directory;
  std::string file;
  std::string variable;
  std::string name;
};

void show_vendor(const common_options& common, const vendor_options& options) {
  with_session(common, [&](session& server) {
    auto scope = client::vendor_scope::study;
    choose_study(*server, options.study);
    if (!options.directory.empty()) {
      choose_directory(*server, options.directory);
      scope = client::vendor_scope::directory;
    }
    if (!options.file.empty()) {
      choose_file(*server, options.file);
      scope = client::vendor_scope::file;
    }
    if (!options.variable.empty()) {
      choose_variable(*server, options.variable);
      scope = client::vendor_scope::variable;
    }
    const client::vendor_bag bag = server->vendor_data(options.name, scope);
    json attributes = json::array();
    for (const client::vendor_attribute& attribute : bag.attributes) {
      json value;
      std::visit(
          [&value](const auto& held) {
            using type = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<type, std::vector<double>>) {
              value = json::array();
              for (const double one : held) value.push_back(number_json(one));
            } else if constexpr (std::is_same_v<type, double>) {
              value = number_json(held);
            } else if constexpr (!std::is_same_v<type, std::monostate>) {
              value = held;
            }
          },
          attribute.value);
      attributes.push_back({{"name", attribute.name}, {"value", value}});
    }
    print_description({{"vendor data", options.name}, {"version", bag.version}, {"attributes", attributes}},
                      common.json);
  });
}

}  // namespace

void add_resource_commands(const command_line& program, const common_options& common) {
  const auto add = [&](const char* command_name, const char* description, const char* kind, const char* shown,
                       auto names, auto describe) {
    const command_line command = program.add_subcommand(command_name, description);
    auto options = std::make_shared<resource_options>();
    command.add_option("study", options->study, "Name of the study").required().type_name("STUDY");
    command.add_option("name", options->name, shown).type_name(kind);
    command.callback([options, &common, names, describe] { show(common, *options, names, describe); });
  };
  add("palettes", "List the palettes of a study and of the root, or show one", "PALETTE", "Palette to show",
      &client::connection::palettes, palette_json);
  add("scales", "List the colour scales of a study, or show one", "SCALE", "Scale to show",
      &client::connection::scales, scale_json);

  const command_line command =
      program.add_subcommand("vendor", "Show vendor data of a study, directory, file or variable");
  auto options = std::make_shared<vendor_options>();
  command.add_option("name", options->name, "Name of the data").required().type_name("NAME");
  command.add_option("study", options->study, "Name of the study").required().type_name("STUDY");
  const option directory = command.add_option("directory", options->directory, "Owner, or where it lies");
  directory.type_name("DIRECTORY");
  const option file = command.add_option("file", options->file, "Owner, or where it lies").type_name("FILE");
  file.needs(directory);
  command.add_option("variable", options->variable, "Owner").type_name("VARIABLE").needs(file);
  command.callback([options, &common] { show_vendor(common, *options); });
}

}  // namespace qrd::command
