// qrd ls, tree, info, find: what is in the database, and how it is made.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

#include "command/describe.h"
#include "command/names.h"
#include "command/options.h"
#include "command/output.h"
#include "command/session.h"
#include "command/sizes.h"
#include "command/terminal.h"
#include "qrd/units.h"

namespace qrd::command {

namespace {

struct list_options {
  std::vector<std::string> words;
  bool details = false;
  bool recursive = false;
  bool sizes = false;
  bool variables = false;
  bool missing = false;
  std::string type;
  bool is_tree = false;
};

object_path below(const object_path& path, const std::string& name) {
  object_path one = path;
  one.push_back(name);
  return one;
}

// What a file or a variable is; null for a study and a directory.
json described(client::database& all, const object_path& path, const list_options& options) {
  json told;
  if (options.details && path.size() == 3)
    told = describe_file(place_of(path), client::table(all, place_of(path)).info());
  if (options.details && path.size() == 4)
    told = describe_variable(path[3], choose(all, path).variable_info());
  if (!options.sizes) return told;
  if (told.is_null()) told = json{{"name", path.back()}};
  told["bytes"] = size_of(all, path).bytes;
  return told;
}

// What stands behind the name on its line.
std::vector<std::string> details_of(const json& one) {
  const auto text_of = [&one](const char* key) { return shown_text(one[key]); };
  std::vector<std::string> cells;
  if (one.contains("file")) {
    cells = {text_of("organisation"), text_of("dimension") + "D", text_of("samples") + " samples"};
    if (one.contains("lines")) cells.push_back(text_of("lines") + " lines");
  } else if (one.contains("variable")) {
    cells = {text_of("type"),
             one.contains("bits") ? text_of("bits") + " bits" : text_of("characters") + " characters"};
    if (one.contains("indices")) cells.push_back(text_of("indices") + " indices");
    if (const std::string symbol = text_of("unit symbol"); !symbol.empty()) cells.push_back(symbol);
  }
  if (one.contains("bytes")) cells.push_back(text_of("bytes") + " bytes");
  return cells;
}

// The same in columns that hold one thing each.
void print_aligned(const std::vector<std::string>& names, const json::elements& all) {
  const bool of_files = all[0].contains("file");
  const bool of_variables = all[0].contains("variable");
  std::vector<aligned_table::heading> headings = {{"NAME"}};
  if (of_files)
    headings.insert(headings.end(), {{"ORGANISATION"}, {"DIM"}, {"SAMPLES", true}, {"LINES", true}});
  if (of_variables) headings.insert(headings.end(), {{"TYPE"}, {"SIZE", true}, {"UNIT"}});
  const bool has_bytes = all[0].contains("bytes");
  if (has_bytes) headings.push_back({"BYTES", true});
  aligned_table table(headings);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto text_of = [&](const char* key) { return shown_text(all[i][key]); };
    std::vector<std::string> cells = {names[i]};
    if (of_files)
      cells.insert(cells.end(), {text_of("organisation"), text_of("dimension") + "D", text_of("samples"),
                                 text_of("lines")});
    if (of_variables) {
      const bool is_text = all[i].contains("characters");
      std::string size = is_text ? text_of("characters") + " characters" : text_of("bits") + " bits";
      if (all[i].contains("indices")) size = text_of("indices") + " x " + size;
      cells.insert(cells.end(), {text_of("type"), size, text_of("unit symbol")});
    }
    if (has_bytes) cells.push_back(bytes_text(*all[i]["bytes"].as<double>()));
    table.add(std::move(cells));
  }
  table.print();
}

void print_list(const std::vector<std::string>& names, const json::elements& details) {
  const bool has_details = !details.empty() && !details[0].is_null();
  if (has_details && is_watched()) {
    print_aligned(names, details);
    return;
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::printf("%s", names[i].c_str());
    if (has_details)
      for (const std::string& cell : details_of(details[i])) std::printf("\t%s", cell.c_str());
    std::printf("\n");
  }
}

json::elements details_of_all(client::database& all, const object_path& path,
                              const std::vector<std::string>& names, const list_options& options) {
  json::elements details;
  if (options.details || options.sizes)
    for (const std::string& name : names) details.push_back(described(all, below(path, name), options));
  return details;
}

json list_json(const std::vector<std::string>& names, const json::elements& details) {
  return details.empty() || details[0].is_null() ? json(names) : json(details);
}

// How many levels of names a recursive list goes down to.
std::size_t depth_wanted(const list_options& options) {
  return options.variables ? all_levels : all_levels - 1;
}

void list_recursively(client::database& all, const object_path& path, const list_options& options,
                      bool& is_first) {
  const std::vector<std::string> names = names_below(all, path);
  std::printf("%s%s:\n", is_first ? "" : "\n", path.empty() ? "/" : path_text(path).c_str());
  is_first = false;
  print_list(names, details_of_all(all, path, names, options));
  if (path.size() + 1 < depth_wanted(options))
    for (const std::string& name : names) list_recursively(all, below(path, name), options, is_first);
}

// Names with what lies below them.
json tree_json(client::database& all, const object_path& path, const list_options& options) {
  static constexpr const char* contents[] = {"directories", "files", "variables"};
  json::elements nodes;
  for (const std::string& name : names_below(all, path)) {
    const object_path one = below(path, name);
    json node = {{level_name(path.size()), name}};
    if (const json told = described(all, one, options); !told.is_null()) node.append(told);
    if (one.size() < depth_wanted(options)) node[contents[path.size()]] = tree_json(all, one, options);
    nodes.push_back(std::move(node));
  }
  return nodes;
}

void print_tree(client::database& all, const object_path& path, const list_options& options,
                const std::string& indent) {
  const std::vector<std::string> names = names_below(all, path);
  const json::elements details = details_of_all(all, path, names, options);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool is_last = i + 1 == names.size();
    std::printf("%s%s%s", indent.c_str(), is_last ? "└── " : "├── ", names[i].c_str());
    if (!details.empty())
      for (const std::string& cell : details_of(details[i])) std::printf("  %s", cell.c_str());
    std::printf("\n");
    if (path.size() + 1 < depth_wanted(options))
      print_tree(all, below(path, names[i]), options, indent + (is_last ? "    " : "│   "));
  }
}

void list(const common_options& common, const list_options& options) {
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    const std::vector<object_path> paths = expanded(all, take_path(all, words, all_levels));
    all.use_unit("");
    const pager shown(common.paged);
    if (paths[0].size() == all_levels) {
      std::vector<std::string> names;
      json::elements details;
      for (const object_path& path : paths) {
        if (!options.details && !options.sizes) choose(all, path);
        names.push_back(path.back());
        if (options.details || options.sizes) details.push_back(described(all, path, options));
      }
      if (common.json)
        print_description(list_json(names, details), true);
      else
        print_list(names, details);
      return;
    }
    json::elements told;
    bool is_first = true;
    for (const object_path& path : paths) {
      if (common.json && (options.is_tree || options.recursive)) {
        told.push_back(tree_json(all, path, options));
      } else if (options.is_tree) {
        std::printf("%s\n", path.empty() ? "/" : path_text(path).c_str());
        print_tree(all, path, options, "");
      } else if (options.recursive || (paths.size() > 1 && !common.json)) {
        list_recursively(all, path, options, is_first);
      } else {
        const std::vector<std::string> names = names_below(all, path);
        const json::elements details = details_of_all(all, path, names, options);
        if (common.json)
          told.push_back(list_json(names, details));
        else
          print_list(names, details);
      }
    }
    // Several are told apart by their places.
    if (common.json) {
      json by_place = std::initializer_list<json::member>{};
      for (std::size_t i = 0; i < told.size(); ++i) by_place[path_text(paths[i])] = told[i];
      print_description(paths.size() == 1 ? told[0] : by_place, true);
    }
  });
}

json study_json(client::database& all, const object_path& path) {
  json result = {{"study", path[0]}, {"directories", all.at(path[0]).directories()}};
  const object_size size = size_of(all, path);
  result.append({{"files", size.files},
                 {"variables", size.variables},
                 {"samples", size.samples},
                 {"bytes", size.bytes}});
  client::connection& server = all.at(path[0]);
  result["palettes"] = server.palettes();
  result["scales"] = server.scales();
  return result;
}

json directory_json(client::database& all, const object_path& path) {
  const object_size size = size_of(all, path);
  return {
      {"directory", path[1]},        {"study", path[0]},        {"files", all.at(path[0], path[1]).files()},
      {"variables", size.variables}, {"samples", size.samples}, {"bytes", size.bytes}};
}

json missing_json(client::table& file, bool quiet) {
  json missing = std::initializer_list<json::member>{};
  for (const client::column& one : file.columns()) missing[one.title] = missing_of(file, one, quiet);
  return missing;
}

json file_json(client::database& all, const object_path& path, const list_options& options, bool quiet) {
  client::table file(all, place_of(path));
  json result = describe_file(file.place(), file.info());
  result["units"] = file.coordinate_units();
  result["extents"] = extents_of(file, quiet);
  result["variables"] = file.names();
  if (options.missing) result["missing"] = missing_json(file, quiet);
  result["bytes"] = size_of(all, path).bytes;
  result["comment"] = all.at(file.place()).comment(client::comment_owner::file);
  return result;
}

json variable_json(client::database& all, const object_path& path, bool quiet) {
  client::table file(all, place_of(path));
  const bool is_macro = client::is_macro_name(path[3]);
  client::connection& server = all.at(file.place());
  json result;
  if (is_macro) {
    const client::variable_info info = choose(all, path).variable_info();
    result = describe_variable(path[3], info);
    if (info.indices > 0) {
      const client::macro_indices indices = server.macro_indices();
      result["index numbers"] = indices.numbers;
      if (indices.names) result["index names"] = *indices.names;
    }
    result["bytes"] = bytes_of(info, file.samples());
  } else {
    const client::column one = file.open(path[3]);
    result = describe_variable(one.title, one.info);
    result["bytes"] = bytes_of(one.info, file.samples());
    result["missing"] = missing_of(file, one, quiet);
  }
  result["comment"] = server.comment(client::comment_owner::variable);
  return result;
}

void inform(const common_options& common, const list_options& options) {
  need_names(options.words, 1, "STUDY [DIRECTORY [FILE [VARIABLE]]]");
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    const object_path wanted = take_path(all, words, all_levels);
    all.use_unit("");
    json::elements told;
    for (const object_path& path : expanded(all, wanted)) {
      told.push_back(path.size() == 1   ? study_json(all, path)
                     : path.size() == 2 ? directory_json(all, path)
                     : path.size() == 3 ? file_json(all, path, options, common.quiet)
                                        : variable_json(all, path, common.quiet));
    }
    const pager shown(common.paged);
    const bool may_be_several =
        std::any_of(wanted.begin(), wanted.end(), [](const auto& one) { return is_pattern(one); });
    if (common.json) {
      print_description(may_be_several ? json(told) : told[0], true);
      return;
    }
    for (std::size_t i = 0; i < told.size(); ++i) {
      if (i > 0) std::printf("\n");
      print_description(told[i], false);
    }
  });
}

std::string folded(const std::string& text) {
  std::string result;
  for (const char character : text)
    result += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  return result;
}

// Looks at every name without its case; a text without * and ? is looked for anywhere in it.
void find_below(client::database& all, const object_path& path, const std::string& pattern,
                const list_options& options, std::vector<object_path>& found) {
  const bool is_last = path.size() + 1 == all_levels || options.type == level_name(path.size());
  for (const std::string& name : names_below(all, path)) {
    const object_path one = below(path, name);
    if ((options.type.empty() || options.type == level_name(path.size())) && matches(pattern, folded(name)))
      found.push_back(one);
    if (is_last) continue;
    try {
      find_below(all, one, pattern, options, found);
    } catch (const client::refusal& problem) {
      // What can't be looked into hides nothing else.
      std::fprintf(stderr, "qrd: %s: %s\n", path_text(one).c_str(), problem.what());
    }
  }
}

void find(const common_options& common, const list_options& options) {
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words(options.words.begin() + 1, options.words.end());
    std::string pattern = folded(options.words[0]);
    if (!is_pattern(pattern)) pattern = "*" + pattern + "*";
    std::vector<object_path> found;
    for (const object_path& path : expanded(all, take_path(all, words, all_levels - 1)))
      find_below(all, path, pattern, options, found);
    const pager shown(common.paged);
    json::elements told;
    for (const object_path& path : found) {
      if (common.json)
        told.push_back(path);
      else
        std::printf("%s\n", path_text(path).c_str());
    }
    if (common.json) print_description(told, true);
  });
}

}  // namespace

void add_list_commands(const command_line& program, const common_options& common) {
  for (const bool is_tree : {false, true}) {
    const command_line command =
        is_tree ? program.add_subcommand("tree", "Show studies, directories and files as a tree")
                : program.add_subcommand("ls", "List studies, directories, files or variables");
    auto options = std::make_shared<list_options>();
    options->is_tree = is_tree;
    add_names(command, options->words, "[STUDY [DIRECTORY [FILE [VARIABLE]]]]",
              "What to list, also as STUDY/DIRECTORY/FILE, with * and ? (default: the studies)");
    command.add_flag("-l,--long", options->details, "Tell what each file or variable is");
    command.add_flag("-s,--size", options->sizes, "Tell how many bytes the values take: samples times bits");
    if (!is_tree)
      command.add_flag("-R,--recursive", options->recursive, "List what lies below too, down to the files");
    command.add_flag("-a,--variables", options->variables, "Go down to the variables");
    command.callback([options, &common] { list(common, *options); });
  }
  {
    const command_line command =
        program.add_subcommand("info", "Describe a study, a directory, a file or a variable");
    auto options = std::make_shared<list_options>();
    add_names(command, options->words, "STUDY [DIRECTORY [FILE [VARIABLE]]]",
              "What to describe, also as STUDY/DIRECTORY/FILE/VARIABLE, with * and ?");
    command.add_flag("--missing", options->missing, "Count the missing values of every variable of a file");
    command.callback([options, &common] { inform(common, *options); });
  }
  {
    const command_line command = program.add_subcommand("find", "Look for names in all studies");
    auto options = std::make_shared<list_options>();
    add_names(
        command, options->words, "PATTERN [STUDY [DIRECTORY [FILE]]]",
        "Part of a name, or a pattern with * and ?, of any case; and where to look (default: everywhere)");
    command.add_option("--type", options->type, "Only such objects")
        .one_of({"study", "directory", "file", "variable"});
    command.callback([options, &common] {
      need_names(options->words, 1, "PATTERN");
      find(common, *options);
    });
  }
}

}  // namespace qrd::command
