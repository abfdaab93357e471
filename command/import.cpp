#include "command/import.h"
#include "command/choose.h"
#include "command/output.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <set>

#include "command/interruption.h"
#include "command/progress.h"
#include "command/undo.h"
#include "command/write_column.h"
#include "qrd/names.h"

namespace qrd::command {

namespace {

constexpr std::int32_t all_bits[] = {1, 2, 4, 8, 16, 32, 64};

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// "COLUMN=VALUE", split at the last "=". The column is empty if there is none.
std::pair<std::string, std::string> split_setting(const std::string& setting) {
  const std::size_t split = setting.rfind('=');
  if (split == std::string::npos) return {"", setting};
  return {setting.substr(0, split), setting.substr(split + 1)};
}

std::int32_t parse_bits(const std::string& text) {
  std::int32_t bits = 0;
  std::from_chars(text.data(), text.data() + text.size(), bits);
  if (std::find(std::begin(all_bits), std::end(all_bits), bits) == std::end(all_bits) ||
      std::to_string(bits) != text)
    throw client::error("--bits takes 1, 2, 4, 8, 16, 32 or 64, not \"" + text + "\"");
  return bits;
}

// The settings by column; that for all columns under the empty name.
std::map<std::string, std::string> settings(const std::vector<std::string>& given, const csv_table& table) {
  std::map<std::string, std::string> result;
  for (const std::string& setting : given) {
    const auto [name, value] = split_setting(setting);
    if (!name.empty()) table.index_of(name);
    result[name] = value;
  }
  return result;
}

std::vector<std::string> chosen_columns(const csv_table& table, const import_options& options,
                                        const std::vector<std::string>& places) {
  if (!options.columns.empty()) return options.columns;
  std::vector<std::string> names;
  for (const std::string& name : table.names())
    if (!contains(places, name) && !contains(options.skipped, name)) names.push_back(name);
  return names;
}

// The columns of each macro variable, by its name. They need numbers; named columns get those from 1.
struct planned_macro {
  std::vector<std::int32_t> numbers;
  std::optional<std::vector<std::string>> names;
};

std::map<std::string, planned_macro> plan_macros(const std::vector<planned_variable>& plan) {
  std::map<std::string, planned_macro> macros;
  for (const planned_variable& one : plan) {
    if (!one.variable.index) continue;
    planned_macro& macro = macros[one.variable.name];
    const auto* name = std::get_if<std::string>(&*one.variable.index);
    if (!macro.numbers.empty() && macro.names.has_value() != (name != nullptr))
      throw client::error("the columns of \"" + one.variable.name + "\" have numbers and names");
    if (name != nullptr) {
      if (!macro.names) macro.names.emplace();
      macro.names->push_back(*name);
      macro.numbers.push_back(static_cast<std::int32_t>(macro.numbers.size()) + 1);
    } else {
      macro.numbers.push_back(std::get<std::int32_t>(*one.variable.index));
    }
    constexpr std::int32_t highest = 99999;
    if (macro.numbers.back() < 1 || macro.numbers.back() > highest)
      throw client::error("the index of a column lies between 1 and " + std::to_string(highest) + ": " +
                          one.title);
  }
  return macros;
}

void make_variable(client::connection& server, const planned_variable& planned,
                   std::map<std::string, planned_macro>& macros) {
  if (planned.type.is_text()) {
    server.new_text_variable(planned.variable.name, planned.type.characters);
  } else if (!planned.variable.index) {
    server.new_float_variable(planned.variable.name, planned.type.bits, {}, planned.unit);
  } else if (const auto macro = macros.extract(planned.variable.name)) {
    server.new_macro_variable(planned.variable.name, planned.type.bits, {}, planned.unit);
    server.set_variable(planned.variable.name);
    server.add_macro_indices(macro.mapped().numbers, macro.mapped().names);
  }
  select_column(server, {planned.title, planned.variable, {}});
}

template <typename T>
std::vector<T> placed(std::vector<T> values, const sample_places& places, const T& missing) {
  std::vector<T> samples(static_cast<std::size_t>(places.samples), missing);
  for (std::size_t row = 0; row < values.size(); ++row) samples[places.of_row[row]] = std::move(values[row]);
  return samples;
}

void fill_variable(client::connection& server, const csv_table& table, const planned_variable& planned,
                   const import_options& options, const sample_places& places, const shown_progress& show) {
  const client::sample_range whole{1, places.samples};
  if (planned.type.is_text()) {
    auto texts = to_texts(table, planned.title, options.cells, planned.type.characters);
    write_texts(server, placed(std::move(texts), places, std::string()), whole, client::selection_use::masked,
                show);
  } else {
    // What no row fills is not selected in a selection, and missing elsewhere.
    const double unfilled = planned.type.bits == 1 ? 0 : client::missing_value;
    auto numbers = to_numbers(table, planned.title, options.cells, planned.type.bits);
    write_numbers(server, placed(std::move(numbers), places, unfilled), whole, client::selection_use::masked,
                  show);
  }
}

std::string type_text(const column_type& type) {
  if (type.is_text()) return "text of " + std::to_string(type.characters) + " characters";
  if (type.bits == 1) return "selection";
  return "number of " + std::to_string(type.bits) + " bits";
}

json column_json(const planned_variable& one) {
  json told = {{"column", one.title},
               {"type", one.type.is_text()   ? "text"
                        : one.type.bits == 1 ? "selection"
                                             : "number"}};
  if (one.type.is_text())
    told["characters"] = one.type.characters;
  else
    told["bits"] = one.type.bits;
  told["unit"] = one.unit.empty() ? json() : json(one.unit);
  told["missing"] = one.type.missing;
  return told;
}

void tell(const common_options& common, const import_options& options,
          const std::vector<planned_variable>& plan, std::int64_t samples,
          const std::vector<std::string>& notes) {
  if (common.json) {
    json columns = json::array();
    for (const planned_variable& one : plan) columns.push_back(column_json(one));
    print_description({{"file", options.file},
                       {"samples", samples},
                       {"variables", plan.size()},
                       {"columns", columns},
                       {"notes", notes},
                       {"dry run", options.dry_run}},
                      true);
    return;
  }
  std::printf("%s: %lld samples, %zu %s%s\n", options.file.c_str(), static_cast<long long>(samples),
              plan.size(), plan.size() == 1 ? "variable" : "variables",
              options.dry_run ? " (dry run: nothing is made)" : "");
  for (const planned_variable& one : plan)
    std::printf("  %s: %s%s%s, %zu missing\n", one.title.c_str(), type_text(one.type).c_str(),
                one.unit.empty() ? "" : " in ", one.unit.c_str(), one.type.missing);
  for (const std::string& note : notes) std::printf("  %s\n", note.c_str());
}

}  // namespace

void add_cell_options(const command_line& command, cell_rules& rules) {
  command
      .add_option("--missing", rules.missing,
                  "Cells that stand for a missing value, beside blank ones, NA, N/A, NaN and null")
      .type_name("WORD")
      .one_at_a_time();
  static const std::map<std::string, below_detection> words = {
      {"half", below_detection::half},
      {"zero", below_detection::zero},
      {"missing", below_detection::missing},
      {"value", below_detection::value},
  };
  command
      .add_word_option(
          "--below-detection", [&rules](const std::string& word) { rules.below = words.at(word); },
          "What a cell such as <0.01 stands for: half of it, zero, a missing value, or the value")
      .one_of({"half", "zero", "missing", "value"});
}

void add_import_options(const command_line& command, import_options& options) {
  command.add_option("study", options.study, "Name of the study").required().type_name("STUDY");
  command.add_option("directory", options.directory, "Name of the directory")
      .required()
      .type_name("DIRECTORY");
  command.add_option("file", options.file, "Name of the file to make").required().type_name("FILE");
  command.add_option("table", options.table, "Table to read, - for standard input")
      .required()
      .type_name("FILE.csv");
  const auto add_list = [&](const char* name, std::vector<std::string>& list, const char* text,
                            const char* type) {
    command.add_option(name, list, text).type_name(type).one_at_a_time();
  };
  add_list("--column", options.columns, "Column to store (default: all but those of the geometry)", "NAME");
  add_list("--skip", options.skipped, "Column to leave out", "NAME");
  add_list("--text", options.texts, "Column of texts, even if all are numbers", "NAME");
  add_list("--bits", options.bits, "Bits of a number: 1, 2, 4, 8, 16, 32, 64 (default: 64)", "[COLUMN=]BITS");
  add_list("--unit", options.units, "Unit; the symbol of a length unit makes a length of it",
           "COLUMN=SYMBOL");
  add_list("--unit-text", options.unit_texts, "Unit that is mere text, such as \"feet\"", "COLUMN=TEXT");
  add_cell_options(command, options.cells);
  command.add_flag("--dry-run", options.dry_run, "Tell what each column would become, and make nothing");
  command.add_option("--coordinate-unit", options.coordinate_unit, "Unit of the coordinates (default: m)")
      .type_name("SYMBOL")
      .check(length_symbol_problem);
}

std::vector<planned_variable> plan_variables(const csv_table& table, const import_options& options,
                                             const std::vector<std::string>& places) {
  const auto bits = settings(options.bits, table);
  auto units = settings(options.units, table);
  for (const auto& [column, unit] : units) client::check_unit(unit);
  for (const auto& [column, text] : settings(options.unit_texts, table)) {
    client::check_unit_text(text);
    if (!units.emplace(column, text).second) throw client::error("two units of column \"" + column + "\"");
  }
  if (units.contains("")) throw client::error("--unit takes COLUMN=SYMBOL, --unit-text COLUMN=TEXT");
  for (const auto& names : {options.texts, options.skipped})
    for (const std::string& name : names) table.index_of(name);

  client::check_new_name(options.file, "file");
  std::vector<planned_variable> plan;
  std::set<std::string> taken;
  for (const std::string& title : chosen_columns(table, options, places)) {
    if (!taken.insert(title).second) throw client::error("column \"" + title + "\" is asked for twice");
    planned_variable one;
    one.title = title;
    one.variable = parse_variable_name(title);
    client::check_new_name(one.variable.name, "variable");
    column_wishes wishes;
    wishes.text = contains(options.texts, title);
    const auto own_bits = bits.find(title);
    if (own_bits != bits.end()) wishes.bits = parse_bits(own_bits->second);
    if (wishes.text && wishes.bits != 0)
      throw client::error("column \"" + title + "\" cannot be a text and have bits");
    one.type = type_of_column(table, title, options.cells, wishes);
    if (one.type.is_text()) {
      if (one.variable.index) throw client::error("the columns of a macro variable hold numbers: " + title);
    } else {
      if (wishes.bits == 0 && bits.contains("")) one.type.bits = parse_bits(bits.at(""));
      to_numbers(table, title, options.cells, one.type.bits);
    }
    if (const auto unit = units.find(title); unit != units.end()) one.unit = unit->second;
    plan.push_back(std::move(one));
  }
  plan_macros(plan);
  return plan;
}

void import_file(const common_options& common, const import_options& options, const csv_table& table,
                 const std::vector<planned_variable>& plan, const sample_places& places,
                 const std::vector<std::string>& notes, const std::function<void(file_making&)>& make) {
  if (options.dry_run) {
    tell(common, options, plan, places.samples, notes);
    return;
  }
  with_session(common, [&](session& opened) {
    client::connection& server = *opened;
    choose_study(server, options.study);
    // Each value is given in its own unit: that of its column, that of the coordinates.
    server.set_unit_mode(client::unit_mode::own);
    server.set_creation_units(options.coordinate_unit, options.coordinate_unit, options.coordinate_unit);
    choose_directory(server, options.directory);

    const auto samples = static_cast<std::uint64_t>(places.samples);
    progress_bar bar("importing", samples * (plan.size() + 1), common.quiet);
    std::uint64_t done = 0;
    const auto fill = [&](bool& made) {
      file_making making{server, made, [&](double part) {
                           bar.show(static_cast<std::uint64_t>(part * static_cast<double>(samples)));
                         }};
      make(making);
      server.set_file(options.file);
      auto macros = plan_macros(plan);
      for (const planned_variable& one : plan) {
        check_interruption();
        done += samples;
        make_variable(server, one, macros);
        fill_variable(server, table, one, options, places, [&](std::uint64_t now) { bar.show(done + now); });
      }
    };
    make_or_undo(common, server, fill, [&](client::connection& again) {
      again.set_study(options.study);
      again.set_directory(options.directory);
      again.set_file(options.file);
      again.delete_file();
    });
  });
  tell(common, options, plan, places.samples, notes);
}

void add_import_commands(const command_line& program, const common_options& common) {
  const command_line parent =
      program.add_subcommand("import", "Make a file with its variables from a CSV table");
  parent.require_subcommand();
  add_points_import(parent, common);
  add_grid_import(parent, common);
  add_lines_import(parent, common);
}

}  // namespace qrd::command
