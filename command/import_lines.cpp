// qrd import lines
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <unordered_map>

#include "command/desurvey.h"
#include "command/holes.h"
#include "command/import.h"
#include "command/output.h"
#include "qrd/blanks.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

struct lines_options : import_options {
  std::string line;
  axis_options axes;
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

// The lines of a table, and the rows of each in the order in which they come.
struct line_rows {
  std::vector<std::vector<std::size_t>> lines;  // in the order in which they first appear

  void add(std::string_view name, std::size_t row) {
    if (last_ == nullptr || name != *last_) {
      const auto [found, is_new] = known_.emplace(name, lines.size());
      if (is_new) lines.emplace_back();
      last_ = &found->first;
      current_ = found->second;
    }
    lines[current_].push_back(row);
  }

 private:
  std::unordered_map<std::string, std::size_t> known_;
  const std::string* last_ = nullptr;
  std::size_t current_ = 0;
};

// A line as the server takes it: coordinates axis by axis, and for cores the start of the first.
struct line {
  std::vector<double> coordinates;
  std::optional<client::point3> start;
};

struct line_file {
  std::int32_t dimension = 3;
  std::vector<line> lines;
  std::int64_t samples = 0;
  std::vector<std::size_t> sample_of_row;
  std::vector<std::string> notes;  // what the user should know of it

  explicit line_file(std::size_t rows) : sample_of_row(rows) {}
  void place_row(std::size_t row) { sample_of_row[row] = static_cast<std::size_t>(samples++); }
  bool is_in_order() const {
    for (std::size_t row = 0; row < sample_of_row.size(); ++row)
      if (sample_of_row[row] != row) return false;
    return static_cast<std::size_t>(samples) == sample_of_row.size();
  }
};

using axis_spans = std::vector<std::span<const double>>;

// The places of some rows, axis by axis.
std::vector<double> gathered(const axis_spans& axes, const std::vector<std::size_t>& rows) {
  std::vector<double> coordinates;
  for (const auto& axis : axes)
    for (const std::size_t row : rows) coordinates.push_back(axis[row]);
  return coordinates;
}

// One place for each sample.
line_file gravity_lines(const axis_spans& axes, const line_rows& rows_of) {
  line_file file(axes[0].size());
  file.dimension = static_cast<std::int32_t>(axes.size());
  for (const auto& rows : rows_of.lines) {
    file.lines.push_back({gathered(axes, rows), std::nullopt});
    for (const std::size_t row : rows) file.place_row(row);
  }
  return file;
}

// Begin and end of each core.
line_file cores_by_places(formats::text_table& table, const axis_spans& begins, const axis_spans& ends,
                          const line_rows& rows_of) {
  line_file file(ends[0].size());
  file.dimension = static_cast<std::int32_t>(ends.size());
  for (const auto& rows : rows_of.lines) {
    for (std::size_t i = 1; i < rows.size(); ++i)
      for (std::size_t axis = 0; axis < ends.size(); ++axis) {
        const double step = begins[axis][rows[i]] - ends[axis][rows[i - 1]];
        // Coordinates that were printed and read again may differ in their last digits.
        if (std::abs(step) > 1e-6 * std::max(1.0, std::abs(ends[axis][rows[i]])))
          throw client::error(where_row(table, rows[i]) +
                              ": the core does not begin where the one before ends");
      }
    client::point3 start{begins[0][rows[0]], begins[1][rows[0]], begins.size() > 2 ? begins[2][rows[0]] : 0};
    file.lines.push_back({gathered(ends, rows), start});
    for (const std::size_t row : rows) file.place_row(row);
  }
  return file;
}

// The name of a hole as it is compared: without blanks around it.
std::string hole_name(std::string_view cell) {
  return std::string(client::without_blanks(cell));
}

// Calls act(hole, the three numbers or two, line) for each row of a table that begins with the hole.
template <typename Act>
void each_hole_row(const std::string& path, const lines_options& options,
                   const std::vector<std::string>& columns, const Act& act) {
  formats::text_table table(path, options.table.wishes);
  const std::size_t hole = table.index_of(columns[0]);
  std::vector<looked_column> numbers;
  for (std::size_t i = 1; i < columns.size(); ++i) {
    looked_column one;
    one.index = table.index_of(columns[i]);
    one.is_place = true;
    one.held = std::numeric_limits<std::size_t>::max();
    numbers.push_back(std::move(one));
  }
  std::vector<std::pair<std::string, std::size_t>> holes;
  look_at(table, options.table.cells, numbers, 0, nullptr,
          [&](std::span<const std::string_view> cells, std::size_t line) {
            holes.emplace_back(table.text_of(hole_name(cells[hole]), line), line);
          });
  for (std::size_t row = 0; row < holes.size(); ++row)
    act(row, std::move(holes[row].first), numbers, holes[row].second);
}

// Of collars and surveys, and of the depths that the table of intervals tells.
hole_tables read_hole_tables(const lines_options& options) {
  hole_tables read;
  each_hole_row(options.collars, options, options.collar_columns,
                [&](std::size_t row, std::string hole, const auto& v, std::size_t line) {
                  read.collars.push_back(
                      {std::move(hole), {v[0].numbers[row], v[1].numbers[row], v[2].numbers[row]}, line});
                });
  if (!options.surveys.empty())
    each_hole_row(options.surveys, options, options.survey_columns,
                  [&](std::size_t row, std::string hole, const auto& v, std::size_t line) {
                    read.surveys.push_back(
                        {std::move(hole), {v[0].numbers[row], v[1].numbers[row], v[2].numbers[row]}, line});
                  });
  return read;
}

std::string mismatch_text(const hole_mismatch& one, const lines_options& options) {
  const std::string& file = one.table == hole_table::collars   ? options.collars
                            : one.table == hole_table::surveys ? options.surveys
                                                               : options.table.path;
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
line_file cores_by_depths(const lines_options& options, const hole_tables& tables) {
  const matched_holes matched = match_holes(tables, options.rules);
  print_mismatches(matched, options);
  if (!matched.is_sound())
    throw client::error("the tables do not fit, so that nothing was made: " + mismatch_count(matched));

  line_file file(tables.intervals.size());
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
        ++file.samples;
        ++gaps;
      }
      ends.push_back(interval.to);
      file.place_row(row);
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

// The columns of a kind of place under the names that an export gives them; none if one is missing.
std::vector<std::string> exported_columns(const formats::text_table& table, char kind, const char* text) {
  std::vector<std::string> names;
  for (const char axis : {'X', 'Y', 'Z'}) {
    const std::string name = std::string(1, axis) + kind + "+ " + text;
    if (table.find(name)) names.push_back(name);
  }
  return names.size() >= 2 ? names : std::vector<std::string>();
}

std::vector<std::size_t> indices_of(const formats::text_table& table, const std::vector<std::string>& names) {
  std::vector<std::size_t> indices;
  for (const std::string& name : names) indices.push_back(table.index_of(name));
  return indices;
}

// Calls act(values) with the held places of some of the columns.
axis_spans values_of(const std::vector<looked_column>& places, std::size_t first, std::size_t count) {
  axis_spans values;
  for (std::size_t i = first; i < first + count; ++i) values.emplace_back(places[i].numbers);
  return values;
}

void make_lines(const common_options& common, const lines_options& options, formats::text_table& table,
                scanned_table& scan, line_file file) {
  scan.notes.insert(scan.notes.begin(), file.notes.begin(), file.notes.end());
  std::vector<client::line_geometry> lines;
  for (const line& one : file.lines) lines.push_back({one.coordinates, one.start});
  if (file.is_in_order()) file.sample_of_row.clear();
  import_file(common, options, table, scan,
              {file.samples, client::lines_geometry{file.dimension, lines}, std::move(file.sample_of_row)});
}

// Depths along holes; the table is that of the intervals.
void import_depths(const common_options& common, const lines_options& options) {
  hole_tables tables = read_hole_tables(options);
  if (options.check_only) {
    each_hole_row(options.table.path, options, {options.line, options.from, options.to},
                  [&](std::size_t row, std::string hole, const auto& v, std::size_t line) {
                    tables.intervals.push_back({std::move(hole), v[0].numbers[row], v[1].numbers[row], line});
                  });
    if (tables.intervals.empty()) throw client::error("the table has no rows");
    check_holes(common, options, tables);
    return;
  }
  formats::text_table table(options.table.path, options.table.wishes);
  const std::size_t hole = table.index_of(options.line);
  const std::vector<std::size_t> depths = indices_of(table, {options.from, options.to});
  scanned_table scan = scan_table(
      common, options, table, depths, kept_places::all,
      [&](std::span<const std::string_view> cells, std::size_t line) {
        tables.intervals.push_back({table.text_of(hole_name(cells[hole]), line), 0, 0, line});
      },
      places_as::variables_too);
  for (std::size_t row = 0; row < scan.rows; ++row) {
    tables.intervals[row].from = scan.places[0].numbers[row];
    tables.intervals[row].to = scan.places[1].numbers[row];
  }
  make_lines(common, options, table, scan, cores_by_depths(options, tables));
}

void import_lines(const common_options& common, const lines_options& options) {
  if (!options.from.empty()) {
    if (options.line.empty()) throw client::error("--from needs --line, the column of the holes");
    import_depths(common, options);
    return;
  }
  formats::text_table table(options.table.path, options.table.wishes);
  const bool exported = options.line.empty();
  const auto line_column = place_column(table, options.line, {"LN+ Line Number (READONLY)"});
  if (!line_column) throw client::error("--line has to name the column that tells the line of a row");
  const bool own_cores = exported && options.begin.empty();
  const auto begin = own_cores ? exported_columns(table, 'B', "Begin of Sample") : options.begin;
  const auto end = own_cores ? exported_columns(table, 'E', "End of Sample") : options.end;
  if (begin.size() != end.size()) throw client::error("--begin and --end need the same number of columns");

  std::vector<std::string> ends_after_begins = begin;
  ends_after_begins.insert(ends_after_begins.end(), end.begin(), end.end());
  std::vector<std::size_t> places =
      begin.empty() ? axis_columns(table, options.axes) : indices_of(table, ends_after_begins);
  const std::size_t held = places.size();
  // The number of the line and the centres of the cores are computed again.
  if (exported) places.push_back(*line_column);
  if (own_cores && !begin.empty())
    for (const char* axis : {"X+ Gravity Center", "Y+ Gravity Center", "Z+ Gravity Center"})
      if (const auto centre = table.find(axis)) places.push_back(*centre);
  line_rows rows_of;
  std::size_t row = 0;
  scanned_table scan = scan_table(
      common, options, table, places, kept_places::all,
      [&](std::span<const std::string_view> cells, std::size_t) { rows_of.add(cells[*line_column], row++); });
  make_lines(common, options, table, scan,
             begin.empty() ? gravity_lines(values_of(scan.places, 0, held), rows_of)
                           : cores_by_places(table, values_of(scan.places, 0, begin.size()),
                                             values_of(scan.places, begin.size(), end.size()), rows_of));
}

}  // namespace

void add_lines_import(const command_line& parent, const common_options& common) {
  const command_line command =
      parent.add_subcommand("lines", "Samples along lines: traverses by places, drill holes by depths");
  auto options = std::make_shared<lines_options>();
  add_import_options(command, *options);
  command
      .add_option("--line", options->line, "Column that tells the line of a row (default: that of an export)")
      .type_name("NAME");
  add_axis_options(command, options->axes, "a 2D file");
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
  command.callback([options, &common] {
    take_table(*options);
    import_lines(common, *options);
  });
}

}  // namespace qrd::command
