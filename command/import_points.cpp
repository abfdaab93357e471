// qrd import points
#include <numeric>

#include "command/import.h"

namespace qrd::command {

namespace {

struct points_options : import_options {
  std::string x = "x";
  std::string y = "y";
  std::string z;
};

void import_points(const common_options& common, const points_options& options) {
  const csv_table table = read_table(options.table);
  if (table.rows() == 0) throw client::error("the table has no rows");
  std::vector<std::string> axes = {options.x, options.y};
  if (!options.z.empty()) axes.push_back(options.z);
  std::vector<double> coordinates;
  for (const std::string& axis : axes) {
    const std::vector<double> values = to_places(table, axis, options.cells);
    coordinates.insert(coordinates.end(), values.begin(), values.end());
  }
  sample_places places{static_cast<std::int64_t>(table.rows()), std::vector<std::size_t>(table.rows())};
  std::iota(places.of_row.begin(), places.of_row.end(), std::size_t{0});
  import_file(common, options, table, plan_variables(table, options, axes), places, {},
              [&](file_making& making) {
                making.server.set_progress([&](std::uint64_t done, std::uint64_t total) {
                  making.show(static_cast<double>(done) / static_cast<double>(total));
                });
                making.server.new_points(options.file, static_cast<std::int32_t>(axes.size()), coordinates);
                making.made = true;
                making.server.set_progress(nullptr);
              });
}

}  // namespace

void add_points_import(const command_line& parent, const common_options& common) {
  const command_line command = parent.add_subcommand("points", "One sample for each row");
  auto options = std::make_shared<points_options>();
  add_import_options(command, *options);
  command.add_option("--x", options->x, "Column of the X coordinates (default: x)").type_name("NAME");
  command.add_option("--y", options->y, "Column of the Y coordinates (default: y)").type_name("NAME");
  command.add_option("--z", options->z, "Column of the Z coordinates (default: none, a 2D file)")
      .type_name("NAME");
  command.callback([options, &common] { import_points(common, *options); });
}

}  // namespace qrd::command
