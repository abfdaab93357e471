#include "command/import.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <map>
#include <set>

#include "command/import_objects.h"
#include "command/interruption.h"
#include "command/output.h"
#include "command/place.h"
#include "command/progress.h"
#include "command/session.h"
#include "qrd/names.h"
#include "qrd/units.h"

namespace qrd::command {

namespace {

using formats::text_table;

constexpr const char* import_names = "STUDY DIRECTORY FILE TABLE";
constexpr std::int32_t all_bits[] = {1, 2, 4, 8, 16, 32, 64};
// Values that are held at a time: what bounds the memory of an import.
constexpr std::size_t values_per_block = std::size_t{1} << 20;
// The same where rows are not in the order of the samples.
constexpr std::size_t values_per_reading = std::size_t{1} << 24;

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

constexpr std::size_t all_columns = std::numeric_limits<std::size_t>::max();

// The settings by column; that for all columns under `all_columns`.
std::map<std::size_t, std::string> settings(const std::vector<std::string>& given, const text_table& table) {
  std::map<std::size_t, std::string> result;
  for (const std::string& setting : given) {
    const auto [name, value] = split_setting(setting);
    result[name.empty() ? all_columns : table.index_of(name)] = value;
  }
  return result;
}

std::set<std::size_t> indices_of(const std::vector<std::string>& names, const text_table& table) {
  std::set<std::size_t> indices;
  for (const std::string& name : names) indices.insert(table.index_of(name));
  return indices;
}

// What the server computes for itself, as an export names it.
bool is_computed(const std::string& name) {
  return name.ends_with(" (READONLY)");
}

std::vector<std::size_t> chosen_columns(const text_table& table, const import_options& options,
                                        const std::vector<std::size_t>& places,
                                        std::vector<std::string>& notes) {
  std::vector<std::size_t> chosen;
  if (!options.columns.empty()) {
    for (const std::string& name : options.columns) chosen.push_back(table.index_of(name));
    return chosen;
  }
  const std::set<std::size_t> skipped = indices_of(options.skipped, table);
  for (std::size_t i = 0; i < table.names().size(); ++i) {
    if (skipped.contains(i) || std::find(places.begin(), places.end(), i) != places.end()) continue;
    if (is_computed(table.names()[i]))
      notes.push_back("left out, since it is computed: " + table.names()[i]);
    else
      chosen.push_back(i);
  }
  return chosen;
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

// Makes the variables of a file, and fills them.
class variable_filling {
 public:
  variable_filling(client::table& file, const std::vector<planned_variable>& plan)
      : file_(file), macros_(plan_macros(plan)) {
    for (const planned_variable& one : plan) {
      client::column column{one.title, one.variable, {}};
      column.info.type = one.type.is_text() ? client::variable_type::text : client::variable_type::number;
      column.info.bits = one.type.bits;
      column.info.characters = one.type.characters;
      columns_.push_back(std::move(column));
      units_.push_back(one.unit);
    }
  }

  void make(std::size_t i) {
    client::connection& server = file_.owner().at(file_.place());
    const client::column& column = columns_[i];
    const std::string& name = column.variable.name;
    if (column.is_text()) {
      server.new_text_variable(name, column.info.characters);
    } else if (!column.variable.index) {
      server.new_float_variable(name, column.info.bits, {}, units_[i]);
    } else if (const auto macro = macros_.extract(name)) {
      server.new_macro_variable(name, column.info.bits, {}, units_[i]);
      server.set_variable(name);
      server.add_macro_indices(macro.mapped().numbers, macro.mapped().names);
    }
  }

  void write(std::size_t i, const client::column_values& values, std::size_t first) {
    check_interruption();
    const bool is_text = columns_[i].is_text();
    const std::size_t count = is_text ? values.texts.size() : values.numbers.size();
    client::writing wish;
    wish.range = {static_cast<std::int64_t>(first) + 1, static_cast<std::int64_t>(first + count)};
    if (is_text)
      file_.write(columns_[i], values.texts, wish);
    else
      file_.write(columns_[i], values.numbers, wish);
  }

  std::size_t size() const { return columns_.size(); }

 private:
  client::table& file_;
  std::map<std::string, planned_macro> macros_;
  std::vector<client::column> columns_;
  std::vector<std::string> units_;
};

std::vector<read_column> columns_to_read(const std::vector<planned_variable>& plan) {
  std::vector<read_column> columns;
  for (const planned_variable& one : plan) columns.push_back({one.index, one.type, false});
  return columns;
}

std::size_t rows_per_block(std::size_t columns) {
  return std::max<std::size_t>(1, values_per_block / std::max<std::size_t>(1, columns));
}

// The values of one axis after the other, as they travel.
std::vector<double> joined(const std::vector<client::column_values>& axes, std::size_t count) {
  std::vector<double> coordinates;
  for (std::size_t i = 0; i < count; ++i)
    coordinates.insert(coordinates.end(), axes[i].numbers.begin(), axes[i].numbers.end());
  return coordinates;
}

class table_import {
 public:
  table_import(const common_options& common, const import_options& options, text_table& table,
               const scanned_table& scan, const planned_file& file)
      : options_(options),
        table_(table),
        scan_(scan),
        planned_(file),
        bar_("importing", total(), common.quiet, "B") {}

  void fill(client::table& file) {
    variable_filling variables(file, scan_.variables);
    const auto* points = std::get_if<client::points_geometry>(&planned_.geometry);
    const bool grows = points != nullptr && file.samples() < planned_.samples;
    // With every sample the columns of macro variables are laid out anew: they come when all are there.
    const bool has_macros =
        std::any_of(scan_.variables.begin(), scan_.variables.end(),
                    [](const planned_variable& one) { return one.variable.index.has_value(); });
    if (grows && has_macros) {
      fill_in_order(file, variables, false, true);
      pass_ = 1;
    }
    if (planned_.sample_of_row.empty())
      fill_in_order(file, variables, true, grows && !has_macros);
    else
      fill_placed(variables);
  }

 private:
  std::uint64_t total() const { return std::max<std::uint64_t>(1, table_size() * readings()); }
  std::uint64_t table_size() const { return table_.size(); }
  // How often the table is read.
  std::size_t readings() const {
    return planned_.sample_of_row.empty() ? 1 : scan_.variables.size() / columns_per_reading() + 1;
  }
  std::size_t columns_per_reading() const {
    return std::max<std::size_t>(
        1, values_per_reading / std::max<std::size_t>(1, static_cast<std::size_t>(planned_.samples)));
  }
  formats::table_progress progress() {
    return [this](std::uint64_t done, std::uint64_t) {
      check_interruption();
      bar_.show(pass_ * table_size() + done);
    };
  }

  // Rows become samples in their order: block by block.
  void fill_in_order(client::table& file, variable_filling& variables, bool with_variables, bool grows) {
    std::vector<read_column> columns;
    if (grows)
      for (const looked_column& axis : scan_.places) columns.push_back({axis.index, axis.type, true});
    const std::size_t axes = columns.size();
    if (with_variables)
      for (const read_column& one : columns_to_read(scan_.variables)) columns.push_back(one);
    if (with_variables)
      for (std::size_t i = 0; i < variables.size(); ++i) {
        check_interruption();
        variables.make(i);
      }
    if (columns.empty()) return;
    const auto take = [&](table_block& block) {
      check_interruption();
      if (grows && block.first + block.rows() > static_cast<std::size_t>(file.samples())) {
        if (block.first != static_cast<std::size_t>(file.samples()))
          throw client::error("the table has changed");
        file.owner()
            .at(file.place())
            .append_points(static_cast<std::int32_t>(axes), joined(block.columns, axes));
        file.refresh();
      }
      for (std::size_t i = axes; i < columns.size(); ++i)
        variables.write(i - axes, block.columns[i], block.first);
    };
    read_blocks(table_, options_.table.cells, columns, block_rows(), take, progress());
  }

  std::size_t block_rows() const { return rows_per_block(scan_.places.size() + scan_.variables.size()); }

  // Rows that stand in another order: some columns at a time, whole.
  void fill_placed(variable_filling& variables) {
    const std::vector<read_column> all = columns_to_read(scan_.variables);
    const auto samples = static_cast<std::size_t>(planned_.samples);
    for (std::size_t first = 0; first < all.size(); first += columns_per_reading(), ++pass_) {
      const std::size_t last = std::min(all.size(), first + columns_per_reading());
      const std::vector<read_column> some(all.begin() + static_cast<std::ptrdiff_t>(first),
                                          all.begin() + static_cast<std::ptrdiff_t>(last));
      std::vector<client::column_values> placed(some.size());
      for (std::size_t i = 0; i < some.size(); ++i) {
        // What no row fills is not selected in a selection, and missing elsewhere.
        if (some[i].type.is_text())
          placed[i].texts.resize(samples);
        else
          placed[i].numbers.assign(samples,
                                   some[i].type.bits == 1 ? 0 : std::numeric_limits<double>::quiet_NaN());
      }
      const auto take = [&](table_block& block) {
        if (block.first + block.rows() > planned_.sample_of_row.size())
          throw client::error("the table has changed");
        for (std::size_t row = 0; row < block.rows(); ++row) {
          const std::size_t sample = planned_.sample_of_row[block.first + row];
          for (std::size_t i = 0; i < some.size(); ++i) {
            if (some[i].type.is_text())
              placed[i].texts[sample] = std::move(block.columns[i].texts[row]);
            else
              placed[i].numbers[sample] = block.columns[i].numbers[row];
          }
        }
      };
      read_blocks(table_, options_.table.cells, some, block_rows(), take, progress());
      for (std::size_t i = 0; i < some.size(); ++i) {
        variables.make(first + i);
        variables.write(first + i, placed[i], 0);
      }
    }
  }

  const import_options& options_;
  text_table& table_;
  const scanned_table& scan_;
  const planned_file& planned_;
  progress_bar bar_;
  std::uint64_t pass_ = 0;
};

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

void tell(const common_options& common, const import_options& options, const scanned_table& scan,
          std::int64_t samples) {
  if (common.json) {
    json columns = json::array();
    for (const planned_variable& one : scan.variables) columns.push_back(column_json(one));
    print_description({{"file", options.file},
                       {"samples", samples},
                       {"variables", scan.variables.size()},
                       {"columns", columns},
                       {"notes", scan.notes},
                       {"dry run", options.dry_run}},
                      true);
    return;
  }
  std::printf("%s: %lld samples, %zu %s%s\n", options.file.c_str(), static_cast<long long>(samples),
              scan.variables.size(), scan.variables.size() == 1 ? "variable" : "variables",
              options.dry_run ? " (dry run: nothing is made)" : "");
  for (const planned_variable& one : scan.variables)
    std::printf("  %s: %s%s%s, %zu missing\n", one.title.c_str(), type_text(one.type).c_str(),
                one.unit.empty() ? "" : " in ", one.unit.c_str(), one.type.missing);
  for (const std::string& note : scan.notes) std::printf("  %s\n", note.c_str());
}

// The variables that a table shall become, but for what their cells tell.
std::vector<planned_variable> plan_variables(const import_options& options, const text_table& table,
                                             const std::vector<std::size_t>& places,
                                             std::vector<std::string>& notes) {
  auto units = settings(options.units, table);
  for (const auto& [column, unit] : units) client::check_unit(unit);
  for (const auto& [column, text] : settings(options.unit_texts, table)) {
    client::check_unit_text(text);
    if (!units.emplace(column, text).second)
      throw client::error("two units of column \"" + table.names()[column] + "\"");
  }
  if (units.contains(all_columns)) throw client::error("--unit takes COLUMN=SYMBOL, --unit-text COLUMN=TEXT");
  client::check_new_name(options.file, "file");
  std::vector<planned_variable> plan;
  std::set<std::size_t> taken;
  for (const std::size_t index : chosen_columns(table, options, places, notes)) {
    planned_variable one;
    one.index = index;
    one.title = table.names()[index];
    if (!taken.insert(index).second) throw client::error("column \"" + one.title + "\" is asked for twice");
    // What two columns are named can't be made twice.
    table.index_of(one.title);
    one.variable = client::parse_variable_name(one.title);
    client::check_new_name(one.variable.name, "variable");
    const auto unit = units.find(index);
    one.unit = unit != units.end() ? unit->second : table.unit_of(index);
    plan.push_back(std::move(one));
  }
  plan_macros(plan);
  return plan;
}

}  // namespace

void take_table(import_options& options) {
  if (options.words.empty()) throw wrong_usage(std::string("names are missing: give ") + import_names);
  options.table.path = options.words.back();
  options.words.pop_back();
  need_names(options.words, 3, import_names);
  // Alone it is a name as it stands.
  const std::string& last = options.words.back();
  options.file = options.words.size() > 2 ? last : last.substr(last.rfind('/') + 1);
}

void add_import_options(const command_line& command, import_options& options) {
  add_names(command, options.words, import_names,
            "The file to make, and the table to read: FILE.csv, - for standard input");
  const auto add_list = [&](const char* name, std::vector<std::string>& list, const char* text,
                            const char* type) {
    command.add_option(name, list, text).type_name(type).one_at_a_time();
  };
  add_list("--column", options.columns, "Column to store (default: all but those of the geometry)", "NAME");
  add_list("--skip", options.skipped, "Column to leave out", "NAME");
  add_list("--text", options.texts, "Column of texts, even if all are numbers", "NAME");
  add_list("--bits", options.bits,
           "Bits of a number: 1, 2, 4, 8, 16, 32, 64 (default: 64, and 1 where all are 0 or 1)",
           "[COLUMN=]BITS");
  add_list("--unit", options.units, "Unit; the symbol of a length unit makes a length of it",
           "COLUMN=SYMBOL");
  add_list("--unit-text", options.unit_texts, "Unit that is mere text, such as \"feet\"", "COLUMN=TEXT");
  add_table_options(command, options.table);
  command.add_flag("--dry-run", options.dry_run, "Tell what each column would become, and make nothing");
  command
      .add_option("--coordinate-unit", options.coordinate_unit,
                  "Unit of the coordinates (default: what their columns tell, as in \"x [ft]\", or m)")
      .type_name("SYMBOL")
      .check(length_symbol_problem);
}

void add_axis_options(const command_line& command, axis_options& axes, const char* without_z) {
  command.add_option("--x", axes.x, "Column of the X coordinates (default: x)").type_name("NAME");
  command.add_option("--y", axes.y, "Column of the Y coordinates (default: y)").type_name("NAME");
  command
      .add_option("--z", axes.z,
                  std::string("Column of the Z coordinates (default: none, ") + without_z + ")")
      .type_name("NAME");
}

std::optional<std::size_t> place_column(const text_table& table, const std::string& given,
                                        const std::vector<std::string>& usual) {
  if (!given.empty()) return table.index_of(given);
  for (const std::string& name : usual)
    if (const auto found = table.find(name)) return found;
  return std::nullopt;
}

std::vector<std::size_t> axis_columns(const text_table& table, const axis_options& axes) {
  std::vector<std::size_t> columns;
  const std::string* given[] = {&axes.x, &axes.y, &axes.z};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::string letter(1, static_cast<char>('X' + axis));
    std::vector<std::string> usual = {letter + "+ Gravity Center", letter + "+ Coordinate (READONLY)"};
    if (axis < 2) usual.emplace_back(1, static_cast<char>('x' + axis));
    const auto found = place_column(table, *given[axis], usual);
    if (!found && axis == 2) break;
    columns.push_back(found ? *found : table.index_of(usual.back()));
  }
  return columns;
}

scanned_table scan_table(const common_options& common, const import_options& options, text_table& table,
                         const std::vector<std::size_t>& places, kept_places kept, const row_taker& take,
                         places_as role) {
  scanned_table scan;
  scan.variables = plan_variables(
      options, table, role == places_as::geometry ? places : std::vector<std::size_t>(), scan.notes);
  const auto bits = settings(options.bits, table);
  const std::set<std::size_t> texts = indices_of(options.texts, table);
  std::vector<looked_column> columns;
  for (const std::size_t place : places) {
    looked_column one;
    one.index = place;
    one.is_place = true;
    one.held = kept == kept_places::all ? all_columns : rows_per_block(places.size() + scan.variables.size());
    columns.push_back(std::move(one));
  }
  for (const planned_variable& variable : scan.variables) {
    looked_column one;
    one.index = variable.index;
    one.text = texts.contains(variable.index);
    const auto own = bits.find(variable.index);
    if (own != bits.end()) one.bits = parse_bits(own->second);
    if (one.text && one.bits != 0)
      throw client::error("column \"" + variable.title + "\" cannot be a text and have bits");
    columns.push_back(std::move(one));
  }
  const std::int32_t usual = bits.contains(all_columns) ? parse_bits(bits.at(all_columns)) : 0;
  progress_bar bar("reading", table.size(), common.quiet, "B");
  scan.rows = look_at(
      table, options.table.cells, columns, usual, [&](std::uint64_t done, std::uint64_t) { bar.show(done); },
      take);
  if (scan.rows == 0) throw client::error("the table has no rows");
  for (std::size_t i = 0; i < scan.variables.size(); ++i) {
    planned_variable& one = scan.variables[i];
    one.type = columns[places.size() + i].type;
    if (one.type.is_text() && one.variable.index)
      throw client::error("the columns of a macro variable hold numbers: " + one.title);
    // The columns of a macro variable have the same bits, and so the same as the first.
    if (one.variable.index && one.type.bits == 1 && !bits.contains(one.index) && usual == 0)
      one.type.bits = 64;
    if (one.type.is_text()) one.unit.clear();
  }
  columns.resize(places.size());
  scan.places = std::move(columns);
  scan.coordinate_unit = options.coordinate_unit;
  for (const std::size_t place : places)
    if (scan.coordinate_unit.empty() && client::length_factor(table.unit_of(place)))
      scan.coordinate_unit = table.unit_of(place);
  if (scan.coordinate_unit.empty()) scan.coordinate_unit = "m";
  std::string found;
  for (const std::string& one : table.findings()) found += (found.empty() ? "" : ", ") + one;
  if (!found.empty()) scan.notes.push_back("the table: " + found);
  return scan;
}

void import_file(const common_options& common, const import_options& options, text_table& table,
                 const scanned_table& scan, const planned_file& file) {
  if (!options.dry_run)
    with_database(common, [&](client::database& all) {
      std::vector<std::string> words = options.words;
      const object_path path = take_path(all, words, 3, last_name::made);
      if (!words.empty()) throw wrong_usage(std::string("the names have to be ") + import_names);
      const interruption_guard guard;
      table_import import(common, options, table, scan, file);
      client::make_file(all, place_of(path), file.geometry, [&](client::table& made) { import.fill(made); },
                        {scan.coordinate_unit, nullptr});
    });
  tell(common, options, scan, file.samples);
}

void add_import_commands(const command_line& program, const common_options& common) {
  const command_line parent =
      program.add_subcommand("import", "Make a file from a table or from another program's file");
  parent.require_subcommand();
  add_points_import(parent, common);
  add_grid_import(parent, common);
  add_lines_import(parent, common);
  add_object_imports(parent, common);
}

}  // namespace qrd::command
