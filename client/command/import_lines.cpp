// qrd import lines
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_map>

#include "client/command/hole.h"
#include "client/command/import.h"

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
  std::vector<std::string> used;  // columns that went into the geometry
};

std::vector<std::vector<double>> read_axes(const client::csv_table& table,
                                           const std::vector<std::string>& titles,
                                           const missing_cells& missing) {
  std::vector<std::vector<double>> axes;
  for (const std::string& title : titles) axes.push_back(to_places(table.column(title), missing, title));
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
line_file gravity_lines(const client::csv_table& table, const lines_options& options,
                        const std::vector<std::vector<std::size_t>>& lines) {
  line_file file;
  file.places.of_row.resize(table.rows());
  file.used = {options.x, options.y};
  if (!options.z.empty()) file.used.push_back(options.z);
  file.dimension = static_cast<std::int32_t>(file.used.size());
  const auto axes = read_axes(table, file.used, options.missing);
  for (const auto& rows : lines) {
    file.lines.push_back({gathered(axes, rows), std::nullopt});
    place_rows(file, rows);
  }
  return file;
}

// Begin and end of each core.
line_file cores_by_places(const client::csv_table& table, const lines_options& options,
                          const std::vector<std::vector<std::size_t>>& lines) {
  if (options.begin.size() != options.end.size())
    throw client::error("--begin and --end need the same number of columns");
  line_file file;
  file.places.of_row.resize(table.rows());
  file.used = options.begin;
  file.used.insert(file.used.end(), options.end.begin(), options.end.end());
  file.dimension = static_cast<std::int32_t>(options.end.size());
  const auto begins = read_axes(table, options.begin, options.missing);
  const auto ends = read_axes(table, options.end, options.missing);
  for (const auto& rows : lines) {
    for (std::size_t i = 1; i < rows.size(); ++i)
      for (std::size_t axis = 0; axis < ends.size(); ++axis) {
        const double step = begins[axis][rows[i]] - ends[axis][rows[i - 1]];
        // Coordinates that were printed and read again may differ in their last digits.
        if (std::abs(step) > 1e-6 * std::max(1.0, std::abs(ends[axis][rows[i]])))
          throw client::error("row " + std::to_string(rows[i] + 1) +
                              ": the core does not begin where the one before ends");
      }
    client::point3 start{begins[0][rows[0]], begins[1][rows[0]], begins.size() > 2 ? begins[2][rows[0]] : 0};
    file.lines.push_back({gathered(ends, rows), start});
    place_rows(file, rows);
  }
  return file;
}

std::unordered_map<std::string, client::point3> read_collars(const lines_options& options) {
  const client::csv_table table(client::read_text(options.collars));
  const auto& columns = options.collar_columns;
  const auto axes = read_axes(table, {columns.begin() + 1, columns.end()}, options.missing);
  const cell_list& names = table.column(columns[0]);
  std::unordered_map<std::string, client::point3> collars;
  for (std::size_t row = 0; row < names.size(); ++row)
    if (!collars.emplace(names[row], client::point3{axes[0][row], axes[1][row], axes[2][row]}).second)
      throw client::error("two collars of \"" + std::string(names[row]) + "\"");
  return collars;
}

std::unordered_map<std::string, std::vector<station>> read_surveys(const lines_options& options) {
  std::unordered_map<std::string, std::vector<station>> surveys;
  if (options.surveys.empty()) return surveys;
  const client::csv_table table(client::read_text(options.surveys));
  const auto& columns = options.survey_columns;
  const auto values = read_axes(table, {columns.begin() + 1, columns.end()}, options.missing);
  const cell_list& names = table.column(columns[0]);
  for (std::size_t row = 0; row < names.size(); ++row)
    surveys[std::string(names[row])].push_back({values[0][row], values[1][row], values[2][row]});
  for (auto& [name, stations] : surveys)
    std::stable_sort(stations.begin(), stations.end(),
                     [](const station& a, const station& b) { return a.depth < b.depth; });
  return surveys;
}

// Depths along drill holes. A gap between two intervals becomes a core without values, since cores touch.
line_file cores_by_depths(const client::csv_table& table, const lines_options& options,
                          const std::vector<std::vector<std::size_t>>& lines) {
  if (options.collars.empty()) throw client::error("depths need --collars");
  line_file file;
  file.places.of_row.resize(table.rows());
  const auto collars = read_collars(options);
  const auto surveys = read_surveys(options);
  const auto depths = read_axes(table, {options.from, options.to}, options.missing);
  const cell_list& names = table.column(options.line);
  std::size_t gaps = 0;
  for (const auto& rows : lines) {
    const std::string name(names[rows[0]]);
    const auto collar = collars.find(name);
    if (collar == collars.end()) throw client::error("no collar of \"" + name + "\"");
    const auto survey = surveys.find(name);
    const std::vector<station> stations = survey == surveys.end() ? std::vector<station>() : survey->second;

    std::vector<double> ends;
    double reached = depths[0][rows[0]];
    const client::point3 start = place_in_hole(collar->second, stations, reached);
    for (const std::size_t row : rows) {
      const double from = depths[0][row];
      const double to = depths[1][row];
      if (!(to > from) || from < reached)
        throw client::error("row " + std::to_string(row + 1) +
                            ": its interval does not follow the one before");
      if (from > reached) {
        ends.push_back(from);
        ++file.places.samples;
        ++gaps;
      }
      ends.push_back(to);
      file.places.of_row[row] = static_cast<std::size_t>(file.places.samples++);
      reached = to;
    }
    std::vector<client::point3> places;
    for (const double depth : ends) places.push_back(place_in_hole(collar->second, stations, depth));
    std::vector<double> coordinates;
    for (double client::point3::*axis : {&client::point3::x, &client::point3::y, &client::point3::z})
      for (const client::point3& place : places) coordinates.push_back(place.*axis);
    file.lines.push_back({std::move(coordinates), start});
  }
  if (gaps > 0) std::fprintf(stderr, "qrd: %zu gaps between intervals became cores without values\n", gaps);
  return file;
}

void import_lines(const common_options& common, const lines_options& options) {
  const client::csv_table table(client::read_text(options.table));
  if (table.rows() == 0) throw client::error("the table has no rows");
  const auto lines = rows_of_lines(table.column(options.line));
  const line_file file = !options.from.empty()  ? cores_by_depths(table, options, lines)
                         : !options.end.empty() ? cores_by_places(table, options, lines)
                                                : gravity_lines(table, options, lines);
  import_file(common, options, table, plan_variables(table, options, file.used), file.places,
              [&](file_making& making) {
                making.server.new_lines(options.file, file.dimension);
                making.made = true;
                making.server.set_file(options.file);
                for (std::size_t i = 0; i < file.lines.size(); ++i) {
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

void add_lines_import(CLI::App& parent, const common_options& common) {
  CLI::App* command =
      parent.add_subcommand("lines", "Samples along lines: traverses by places, drill holes by depths");
  auto options = std::make_shared<lines_options>();
  add_import_options(*command, *options);
  command->add_option("--line", options->line, "Column that tells the line of a row")
      ->required()
      ->type_name("NAME");
  command->add_option("--x", options->x, "Column of the X coordinates (default: x)")->type_name("NAME");
  command->add_option("--y", options->y, "Column of the Y coordinates (default: y)")->type_name("NAME");
  command->add_option("--z", options->z, "Column of the Z coordinates (default: none, a 2D file)")
      ->type_name("NAME");
  auto* begin = command->add_option("--begin", options->begin, "Cores by places: columns of their begins");
  auto* end = command->add_option("--end", options->end, "Cores by places: columns of their ends");
  begin->type_name("NAME")->expected(2, 3)->needs(end);
  end->type_name("NAME")->expected(2, 3)->needs(begin);
  auto* from = command->add_option("--from", options->from, "Cores by depths: column of the upper depth");
  auto* to = command->add_option("--to", options->to, "Cores by depths: column of the lower depth");
  auto* collars = command->add_option("--collars", options->collars, "Table of where the holes begin");
  from->type_name("NAME")->needs(to)->needs(collars)->excludes(end);
  to->type_name("NAME")->needs(from);
  collars->type_name("FILE.csv")->needs(from);
  options->collar_columns = {"BHID", "XCOLLAR", "YCOLLAR", "ZCOLLAR"};
  options->survey_columns = {"BHID", "AT", "AZ", "DIP"};
  command
      ->add_option("--collar-columns", options->collar_columns,
                   "Hole, X, Y, Z (default: BHID XCOLLAR YCOLLAR ZCOLLAR)")
      ->type_name("NAME")
      ->expected(4);
  command->add_option("--surveys", options->surveys, "Table of the directions (default: vertical holes)")
      ->type_name("FILE.csv")
      ->needs(collars);
  command
      ->add_option("--survey-columns", options->survey_columns,
                   "Hole, depth, azimuth, dip downwards (default: BHID AT AZ DIP)")
      ->type_name("NAME")
      ->expected(4);
  command->callback([options, &common] { import_lines(common, *options); });
}

}  // namespace qrd::command
