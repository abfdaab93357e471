// qrd import points
#include <memory>

#include "command/geojson.h"
#include "command/import.h"
#include "formats/input.h"

namespace qrd::command {

namespace {

struct points_options : import_options {
  axis_options axes;
};

// Points of GeoJSON become a table first.
formats::text_table opened(const table_options& table) {
  if (!is_geojson_name(table.path)) return formats::text_table(table.path, table.wishes);
  formats::input from(table.path);
  return {formats::input::of_text(points_as_csv(parse_json(formats::read_all(from)))), table.wishes};
}

void import_points(const common_options& common, const points_options& options) {
  formats::text_table table = opened(options.table);
  const scanned_table scan =
      scan_table(common, options, table, axis_columns(table, options.axes), kept_places::first_block);
  std::vector<double> coordinates;
  for (const looked_column& axis : scan.places)
    coordinates.insert(coordinates.end(), axis.numbers.begin(), axis.numbers.end());
  const client::points_geometry geometry{static_cast<std::int32_t>(scan.places.size()), coordinates};
  import_file(common, options, table, scan, {static_cast<std::int64_t>(scan.rows), geometry, {}});
}

}  // namespace

void add_points_import(const command_line& parent, const common_options& common) {
  const command_line command = parent.add_subcommand("points", "One sample for each row");
  auto options = std::make_shared<points_options>();
  add_import_options(command, *options);
  add_axis_options(command, options->axes, "a 2D file");
  command.callback([options, &common] {
    take_table(*options);
    import_points(common, *options);
  });
}

}  // namespace qrd::command
