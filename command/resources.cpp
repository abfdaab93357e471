// qrd palettes, scales, vendor: what hangs on a study and its objects.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "command/names.h"
#include "command/options.h"
#include "command/output.h"
#include "command/session.h"
#include "command/terminal.h"
#include "qrd/words.h"

namespace qrd::command {

namespace {

struct resource_options {
  std::vector<std::string> words;  // the study, and perhaps a name
};

json palette_json(client::connection& server, const std::string& name) {
  json colours = json::array();
  for (const client::rgb& colour : server.palette(name))
    colours.push_back({{"red", colour[0]}, {"green", colour[1]}, {"blue", colour[2]}});
  return {{"palette", name}, {"colours", colours}};
}

json scale_json(client::connection& server, const std::string& name) {
  const client::colour_scale scale = server.scale(name);
  json told = {{"scale", name},
               {"kind", client::word_of(scale.kind)},
               {"read only", scale.read_only},
               {"palette", scale.palette},
               {"classes", scale.classes},
               {"colours", std::vector<client::rgb>{scale.colour_1, scale.colour_2, scale.colour_3}},
               {"modes", scale.modes}};
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

// The colours of a palette or a scale, as they look.
void print_swatches(client::connection& server, const json& told) {
  constexpr std::size_t in_a_row = 32;
  if (!has_colours()) return;
  std::vector<client::rgb> colours;
  if (told.contains("facies")) {
    for (const client::facies_class& one : server.scale(shown_text(told["scale"])).facies)
      colours.push_back(one.colour);
  } else {
    const std::string palette = shown_text(told["palette"]);
    if (!palette.empty() && server.palette_exists(palette)) colours = server.palette(palette);
  }
  for (std::size_t i = 0; i < colours.size(); ++i)
    std::printf("%s%s", swatch(colours[i]).c_str(),
                (i + 1) % in_a_row == 0 || i + 1 == colours.size() ? "\n" : "");
}

// Lists the names, or shows the named ones.
void show(const common_options& common, const resource_options& options,
          std::vector<std::string> (client::connection::*names)(),
          json (*describe)(client::connection&, const std::string&)) {
  need_names(options.words, 1, "STUDY");
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    client::connection& server = all.at(take_path(all, words, 1).at(0));
    const std::vector<std::string> known = (server.*names)();
    std::vector<std::string> wanted;
    for (const std::string& word : words) {
      const bool is_name = !is_pattern(word) || std::find(known.begin(), known.end(), word) != known.end();
      if (is_name) wanted.push_back(word);
      for (const std::string& name : known)
        if (!is_name && matches(word, name)) wanted.push_back(name);
    }
    const pager shown(common.paged);
    if (words.empty()) {
      if (common.json)
        print_description(known, true);
      else
        for (const std::string& name : known) std::printf("%s\n", name.c_str());
      return;
    }
    json::elements told;
    for (const std::string& name : wanted) told.push_back(describe(server, name));
    if (common.json) {
      print_description(words.size() == 1 && wanted.size() == 1 ? told[0] : json(told), true);
      return;
    }
    for (const json& one : told) {
      print_swatches(server, one);
      print_description(one, false);
    }
  });
}

json number_json(double value) {
  return value == client::missing_value ? json() : json(value);
}

struct vendor_options {
  std::vector<std::string> words;  // the name, then the owner
};

constexpr const char* vendor_type = "NAME STUDY [DIRECTORY [FILE [VARIABLE]]]";

void show_vendor(const common_options& common, const vendor_options& options) {
  if (options.words.empty()) throw wrong_usage(std::string("names are missing: give ") + vendor_type);
  const std::string& name = options.words[0];
  need_names({options.words.begin() + 1, options.words.end()}, 1, vendor_type);
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words(options.words.begin() + 1, options.words.end());
    const object_path owner = take_path(all, words, all_levels);
    client::connection& server = choose(all, owner);
    const auto scope = static_cast<client::vendor_scope>(owner.size() - 1);
    const client::vendor_bag bag = server.vendor_data(name, scope);
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
    print_description({{"vendor data", name}, {"version", bag.version}, {"attributes", attributes}},
                      common.json);
  });
}

}  // namespace

void add_resource_commands(const command_line& program, const common_options& common) {
  const auto add = [&](const char* name, const char* text, const std::string& kind, const char* shown,
                       auto names, auto describe) {
    const command_line command = program.add_subcommand(name, text);
    auto options = std::make_shared<resource_options>();
    add_names(command, options->words, "STUDY [" + kind + "...]", shown);
    command.callback([options, &common, names, describe] { show(common, *options, names, describe); });
  };
  add("palettes", "List the palettes of a study and of the root, or show some", "PALETTE",
      "The study, and palettes to show, with * and ?", &client::connection::palettes, palette_json);
  add("scales", "List the colour scales of a study, or show some", "SCALE",
      "The study, and scales to show, with * and ?", &client::connection::scales, scale_json);

  const command_line command =
      program.add_subcommand("vendor", "Show vendor data of a study, directory, file or variable");
  auto options = std::make_shared<vendor_options>();
  add_names(command, options->words, vendor_type, "Name of the data, and their owner");
  command.callback([options, &common] { show_vendor(common, *options); });
}

}  // namespace qrd::command
