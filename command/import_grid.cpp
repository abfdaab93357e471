// qrd import grid
#include <algorithm>
#include <memory>

#include "command/grid_nodes.h"
#include "command/import.h"

namespace qrd::command {

namespace {

struct grid_options : import_options {
  axis_options axes;
  bool numbered = false;
  grid_wishes wishes;
};

// Rows without places tell the nodes by their order, as in GSLIB files.
bool has_places(const formats::text_table& table, const grid_options& options) {
  if (options.wishes.nodes.empty() || options.numbered || !options.axes.x.empty() || !options.axes.y.empty())
    return true;
  return table.find("x") || table.find("X+ Coordinate (READONLY)");
}

placed_grid found_grid(const grid_options& options, formats::text_table& table, const scanned_table& scan) {
  std::vector<std::span<const double>> places;
  for (const looked_column& axis : scan.places) places.emplace_back(axis.numbers);
  if (places.empty()) return listed_grid(scan.rows, options.wishes);
  const grid_wishes& wishes = options.wishes;
  if (!options.numbered && wishes.origin.empty() && wishes.mesh.empty() && wishes.nodes.empty())
    if (auto full = full_grid(places, table.names()[scan.places[0].index].ends_with(" (READONLY)")))
      return std::move(*full);
  auto found = options.numbered ? numbered_grid(places, wishes) : straight_grid(places, wishes);
  if (const auto* wrong = std::get_if<wrong_row>(&found))
    throw client::error(where_row(table, wrong->row) + ": " + wrong->text);
  return std::get<placed_grid>(std::move(found));
}

void import_grid(const common_options& common, const grid_options& options) {
  formats::text_table table(options.table.path, options.table.wishes);
  const bool placed = has_places(table, options);
  if (!options.wishes.rotation.empty() && placed && !options.numbered)
    throw client::error("--rotation needs --numbered: places of turned nodes tell their angles themselves");
  const std::vector<std::size_t> axes =
      placed ? axis_columns(table, options.axes) : std::vector<std::size_t>();
  const scanned_table scan = scan_table(common, options, table, axes, kept_places::all);
  placed_grid grid = found_grid(options, table, scan);
  import_file(common, options, table, scan, {grid.samples, grid.geometry, std::move(grid.sample_of_row)});
}

}  // namespace

void add_grid_import(const command_line& parent, const common_options& common) {
  const command_line command =
      parent.add_subcommand("grid", "One node for each row; nodes without a row are missing");
  auto options = std::make_shared<grid_options>();
  add_import_options(command, *options);
  add_axis_options(command, options->axes, "a 2D grid");
  command.add_flag("--numbered", options->numbered, "The columns hold numbers of nodes, from 1");
  grid_wishes& wishes = options->wishes;
  command.add_option("--origin", wishes.origin, "First node (default: the least coordinates, or 0)")
      .expected(2, 3);
  command.add_option("--mesh", wishes.mesh, "Distance of neighbours (default: the least, or 1)")
      .expected(2, 3);
  command
      .add_option(
          "--nodes", wishes.nodes,
          "Nodes along each axis (default: those of the table); rows without places run through X first")
      .expected(2, 3);
  command
      .add_option("--rotation", wishes.rotation,
                  "Angles in degrees, 1 in 2D, 3 in 3D; needs --numbered or rows without places")
      .expected(1, 3);
  command.callback([options, &common] {
    take_table(*options);
    import_grid(common, *options);
  });
}

}  // namespace qrd::command
