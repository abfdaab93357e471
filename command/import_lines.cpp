// qrd import lines
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_map>

#include "command/desurvey.h"
#include "command/holes.h"
#include "command/import.h"
#include "command/interruption.h"
#include "command/output.h"
#include "qrd/blanks.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

struct lines_options : import_options {
  std::string line;
  std::string x = "x";
  std::string y = "y";
  std::string z;
  std::vector<std::string> begin;
  std::vector<std::string> end;
  std::string from;
  std::string to;
  std::string collars;
  std::vector<std::string> collar_columns;
  std::string surveys;
  std::vector<std::string> survey_columns;
  std::string method = "minimum-curvature";
  hole_rules rules;
  bool check_only = false;
};

// The rows of each line, in the order in which the lines first appear.
std::vector<std::vector<std::size_t>> rows_of_lines(const cell_list& names) {
  std::vector<std::vector<std::size_t>> lines;
  std::unordered_map<std::string_view, std::size_t> known;
  for (std::size_t row = 0; row < names.size(); ++row) {
    const auto [found, is_new] = known.emplace(names[row], lines.size());
    if (is_new) lines.emplace_back();
    lines[found->second].push_back(row);
  }
  return lines;
}

// A line as the server takes it: coordinates axis by axis, and for cores the start of the first.
struct line {
  std::vector<double> coordinates;
  std::optional<client::point3> start;
};

struct line_file {
  std::int32_t dimension = 3;
  std::vector<line> lines;
  sample_places places;
  std::vector<std::string> used;   // columns that went into the geometry
  std::vector<std::string> notes;  // what the user should know of it
};

std::vector<std::vector<double>> read_axes(const csv_table& table, const std::vector<std::string>& titles,
                                           const cell_rules& rules) {
  std::vector<std::vector<double>> axes;
  for (const std::string& title : titles) axes.push_back(to_places(table, title, rules));
  return axes;
}

// The places of some rows, axis by axis.
std::vector<double> gathered(const std::vector<std::vector<double>>& axes,
                             const std::vector<std::size_t>& rows) {
  std::vector<double> coordinates;
  for (const std::vector<double>& axis : axes)
    for (const std::size_t row : rows) coordinates.push_back(axis[row]);
  return coordinates;
}

void place_rows(line_file& file, const std::vector<std::size_t>& rows) {
  for (const std::size_t row : rows)
    file.places.of_row[row] = static_cast<std::size_t>(file.places.samples++);
}

// One place for each sample.
line_file gravity_lines(const csv_table& table, const lines_options& options,
                        const std::vector<std::vector<std::size_t>>& lines) {
  line_file file;
  file.places.of_row.resize(table.rows());
  file.used = {options.x, options.y};
  if (!options.z.empty()) file.used.push_back(options.z);
  file.dimension = static_cast<std::int32_t>(file.used.size());
  const auto axes = read_axes(table, file.used, options.cells);
  for (const auto& rows : lines) {
    file.lines.push_back({gathered(axes, rows), std::nullopt});
    place_rows(file, rows);
  }
  return file;
}

// Begin and end of each core.
line_file cores_by_places(const csv_table& table, const lines_options& options,
                          const std::vector<std::vector<std::size_t>>& lines) {
  if (options.begin.size() != options.end.size())
    throw client::error("--begin and --end need the same number of columns");
  line_file file;
  file.places.of_row.resize(table.rows());
  file.used = options.begin;
  file.used.insert(file.used.end(), options.end.begin(), options.end.end());
  file.dimension = static_cast<std::int32_t>(options.end.size());
  const auto begins = read_axes(table, options.begin, options.cells);
  const auto ends = read_axes(table, options.end, options.cells);
  for (const auto& rows : lines) {
    for (std::size_t i = 1; i < rows.size(); ++i)
      for (std::size_t axis = 0; axis < ends.size(); ++axis) {
        const double step = begins[axis][rows[i]] - ends[axis][rows[i - 1]];
        // Coordinates that were printed and read again may differ in their last digits.
        if (std::abs(step) > 1e-6 * std::max(1.0, std::abs(ends[axis][rows[i]])))
          throw client::error(table.where(rows[i]) + ": the core does not begin where the one before ends");
      }
    client::point3 start{begins[0][rows[0]], begins[1][rows[0]], begins.size() > 2 ? begins[2][rows[0]] : 0};
    file.lines.push_back({gathered(ends, rows), start});
    place_rows(file, rows);
  }
  return file;
}

// The name of a hole as it is compared: without blanks around it.
std::string hole_name(std::string_view cell) {
  return std::string(client::without_blanks(cell));
}

// Calls act(row, hole, the three numbers or two) for each row of a table that begins with the hole.
template <typename Act>
void each_hole_row(const csv_table& table, const std::vector<std::string>& columns, const cell_rules& rules,
                   const Act& act) {
  const auto values = read_axes(table, {columns.begin() + 1, columns.end()}, rules);
  const cell_list& names = table.column(columns[0]);
  for (std::size_t row = 0; row < names.size(); ++row) act(row, hole_name(names[row]), values);
}

hole_tables read_hole_tables(const csv_table& table, const lines_options& options) {
  hole_tables read;
  {
    const csv_table collars = read_table(options.collars);
    each_hole_row(
        collars, options.collar_columns, options.cells,
        [&](std::size_t row, std::string hole, const auto& v) {
          read.collars.push_back({std::move(hole), {v[0][row], v[1][row], v[2][row]}, collars.line(row)});
        });
  }
  if (!options.surveys.empty()) {
    const csv_table surveys = read_table(options.surveys);
    each_hole_row(
        surveys, options.survey_columns, options.cells,
        [&](std::size_t row, std::string hole, const auto& v) {
          read.surveys.push_back({std::move(hole), {v[0][row], v[1][row], v[2][row]}, surveys.line(row)});
        });
  }
  each_hole_row(table, {options.line, options.from, options.to}, options.cells,
                [&](std::size_t row, std::string hole, const auto& v) {
                  read.intervals.push_back({std::move(hole), v[0][row], v[1][row], table.line(row)});
                });
  return read;
}

std::string mismatch_text(const hole_mismatch& one, const lines_options& options) {
  const std::string& file = one.table == hole_table::collars   ? options.collars
                            : one.table == hole_table::surveys ? options.surveys
                                                               : options.table;
  std::string text = file == "-" ? std::string() : file;
  if (one.line > 0) text += (text.empty() ? "line " : ", line ") + std::to_string(one.line);
  if (!one.hole.empty()) text += ": hole \"" + one.hole + "\"";
  if (one.depth) text += " at " + client::number_text(*one.depth);
  return text + ": " + one.text;
}

// Every mismatch on a line of its own; of the remarks a few.
void print_mismatches(const matched_holes& matched, const lines_options& options) {
  constexpr std::size_t remarks_shown = 5;
  std::size_t remarks = 0;
  for (const hole_mismatch& one : matched.mismatches)
    if (!one.is_remark || ++remarks <= remarks_shown)
      std::fprintf(stderr, "qrd: %s\n", mismatch_text(one, options).c_str());
  if (remarks > remarks_shown)
    std::fprintf(stderr, "qrd: and %zu more remarks, which --check lists\n", remarks - remarks_shown);
}

const char* table_name(hole_table table) {
  return table == hole_table::collars ? "collars" : table == hole_table::surveys ? "surveys" : "intervals";
}

std::size_t count_mismatches(const matched_holes& matched) {
  return static_cast<std::size_t>(std::count_if(matched.mismatches.begin(), matched.mismatches.end(),
                                                [](const auto& one) { return !one.is_remark; }));
}

std::string mismatch_count(const matched_holes& matched) {
  const std::size_t count = count_mismatches(matched);
  return count == 1 ? "1 mismatch" : std::to_string(count) + " mismatches";
}

// Tells how the tables fit together, and makes nothing.
void check_holes(const common_options& common, const lines_options& options, const hole_tables& tables) {
  const matched_holes matched = match_holes(tables, options.rules);
  if (common.json) {
    json all = json::array();
    for (const hole_mismatch& one : matched.mismatches)
      all.push_back({{"table", table_name(one.table)},
                     {"line", one.line > 0 ? json(one.line) : json()},
                     {"hole", one.hole},
                     {"depth", one.depth ? json(*one.depth) : json()},
                     {"remark", one.is_remark},
                     {"text", one.text}});
    print_description({{"holes", matched.holes.size()},
                       {"intervals", tables.intervals.size()},
                       {"surveys", tables.surveys.size()},
                       {"mismatches", all}},
                      true);
  } else {
    for (const hole_mismatch& one : matched.mismatches)
      std::printf("%s%s\n", one.is_remark ? "remark: " : "", mismatch_text(one, options).c_str());
    std::printf("%zu holes, %zu intervals, %zu surveys: %s\n", matched.holes.size(), tables.intervals.size(),
                tables.surveys.size(), mismatch_count(matched).c_str());
  }
  if (!matched.is_sound()) throw client::error("the tables do not fit: " + mismatch_count(matched));
}

// Depths along drill holes. A gap between two intervals becomes a core without values, since cores touch.
line_file cores_by_depths(const csv_table& table, const lines_options& options, const hole_tables& tables) {
  const matched_holes matched = match_holes(tables, options.rules);
  print_mismatches(matched, options);
  if (!matched.is_sound())
    throw client::error("the tables do not fit, so that nothing was made: " + mismatch_count(matched));

  line_file file;
  file.places.of_row.resize(table.rows());
  const auto method = desurvey_method_of(options.method).value();
  std::size_t gaps = 0;
  for (const drill_hole& hole : matched.holes) {
    std::vector<double> ends;
    double reached = tables.intervals[hole.intervals.front()].from;
    const hole_path path(hole.collar, hole.stations, method);
    const client::point3 start = path.at(reached);
    for (const std::size_t row : hole.intervals) {
      const interval_row& interval = tables.intervals[row];
      if (interval.from > reached) {
        ends.push_back(interval.from);
        ++file.places.samples;
        ++gaps;
      }
      ends.push_back(interval.to);
      file.places.of_row[row] = static_cast<std::size_t>(file.places.samples++);
      reached = interval.to;
    }
    std::vector<client::point3> places;
    for (const double depth : ends) places.push_back(path.at(depth));
    std::vector<double> coordinates;
    for (double client::point3::*axis : {&client::point3::x, &client::point3::y, &client::point3::z})
      for (const client::point3& place : places) coordinates.push_back(place.*axis);
    file.lines.push_back({std::move(coordinates), start});
  }
  file.notes.push_back(std::to_string(matched.holes.size()) +
                       (matched.holes.size() == 1 ? " hole by " : " holes by ") + options.method +
                       ", dips positive " +
                       (options.rules.dips == dip_convention::down_negative ? "upwards" : "downwards"));
  if (gaps > 0)
    file.notes.push_back(std::to_string(gaps) +
                         (gaps == 1 ? " gap between intervals became a core without values"
                                    : " gaps between intervals became cores without values"));
  return file;
}

line_file read_lines(const csv_table& table, const lines_options& options) {
  if (!options.from.empty()) return cores_by_depths(table, options, read_hole_tables(table, options));
  const auto lines = rows_of_lines(table.column(options.line));
  return options.end.empty() ? gravity_lines(table, options, lines) : cores_by_places(table, options, lines);
}

void import_lines(const common_options& common, const lines_options& options) {
  const csv_table table = read_table(options.table);
  if (table.rows() == 0) throw client::error("the table has no rows");
  if (options.check_only) {
    check_holes(common, options, read_hole_tables(table, options));
    return;
  }
  const line_file file = read_lines(table, options);
  import_file(common, options, table, plan_variables(table, options, file.used), file.places, file.notes,
              [&](file_making& making) {
                making.server.new_lines(options.file, file.dimension);
                making.made = true;
                making.server.set_file(options.file);
                for (std::size_t i = 0; i < file.lines.size(); ++i) {
                  check_interruption();
                  const line& one = file.lines[i];
                  if (one.start)
                    making.server.append_cores(file.dimension, *one.start, one.coordinates);
                  else
                    making.server.append_line(file.dimension, one.coordinates);
                  making.show(static_cast<double>(i + 1) / static_cast<double>(file.lines.size()));
                }
              });
}

}  // namespace

void add_lines_import(const command_line& parent, const common_options& common) {
  const command_line command =
      parent.add_subcommand("lines", "Samples along lines: traverses by places, drill holes by depths");
  auto options = std::make_shared<lines_options>();
  add_import_options(command, *options);
  command.add_option("--line", options->line, "Column that tells the line of a row")
      .required()
      .type_name("NAME");
  command.add_option("--x", options->x, "Column of the X coordinates (default: x)").type_name("NAME");
  command.add_option("--y", options->y, "Column of the Y coordinates (default: y)").type_name("NAME");
  command.add_option("--z", options->z, "Column of the Z coordinates (default: none, a 2D file)")
      .type_name("NAME");
  const option begin =
      command.add_option("--begin", options->begin, "Cores by places: columns of their begins");
  const option end = command.add_option("--end", options->end, "Cores by places: columns of their ends");
  begin.type_name("NAME").expected(2, 3).needs(end);
  end.type_name("NAME").expected(2, 3).needs(begin);
  const option from =
      command.add_option("--from", options->from, "Cores by depths: column of the upper depth");
  const option to = command.add_option("--to", options->to, "Cores by depths: column of the lower depth");
  const option collars = command.add_option("--collars", options->collars, "Table of where the holes begin");
  from.type_name("NAME").needs(to).needs(collars).excludes(end);
  to.type_name("NAME").needs(from);
  collars.type_name("FILE.csv").needs(from);
  options->collar_columns = {"BHID", "XCOLLAR", "YCOLLAR", "ZCOLLAR"};
  options->survey_columns = {"BHID", "AT", "AZ", "DIP"};
  command
      .add_option("--collar-columns", options->collar_columns,
                  "Hole, X, Y, Z (default: BHID XCOLLAR YCOLLAR ZCOLLAR)")
      .type_name("NAME")
      .expected(4);
  command.add_option("--surveys", options->surveys, "Table of the directions")
      .type_name("FILE.csv")
      .needs(collars);
  command
      .add_option("--survey-columns", options->survey_columns,
                  "Hole, depth, azimuth clockwise from Y, dip (default: BHID AT AZ DIP)")
      .type_name("NAME")
      .expected(4);
  command
      .add_option(
          "--desurvey", options->method,
          "Path between surveys: an arc (minimum-curvature, the default), half the way in each direction "
          "(balanced), all of it in the upper one (tangential)")
      .one_of({"minimum-curvature", "balanced", "tangential"})
      .needs(collars);
  const option down = command.add_flag_callback(
      "--dip-down-positive", [options] { options->rules.dips = dip_convention::down_positive; },
      "Positive dips point down; taken so by default, unless that sends most holes upwards");
  command
      .add_flag_callback(
          "--dip-down-negative", [options] { options->rules.dips = dip_convention::down_negative; },
          "Negative dips point down")
      .excludes(down);
  command.add_flag("--vertical", options->rules.vertical_without_surveys,
                   "Holes without surveys are vertical (default: they are refused)");
  command
      .add_flag("--check", options->check_only,
                "Only tell whether collars, surveys and intervals fit together; status 1 if they don't")
      .needs(from);
  command.callback([options, &common] { import_lines(common, *options); });
}

}  // namespace qrd::command
