// qrd import grid
#include <algorithm>
#include <cmath>

#include "command/import.h"

namespace qrd::command {

namespace {

struct grid_options : import_options {
  std::string x = "x";
  std::string y = "y";
  std::string z;
  bool numbered = false;
  std::vector<double> origin;
  std::vector<double> mesh;
  std::vector<std::int32_t> nodes;
  std::vector<double> rotation;
};

// The nodes along one axis.
struct axis {
  double origin = 0;
  double mesh = 1;
  std::int32_t nodes = 1;
};

// How far a place may lie from its node, in meshes.
constexpr double tolerance = 1e-3;

// The number of meshes from the first node, for a place that lies on a node.
std::int32_t node_of(double place, const axis& along, const std::string& title, const csv_table& table,
                     std::size_t row) {
  const double steps = (place - along.origin) / along.mesh;
  const double node = std::round(steps);
  if (std::abs(steps - node) > tolerance || node < 0 || node >= static_cast<double>(along.nodes))
    throw client::error(table.where(row) + ": column \"" + title + "\": the place is not a node of the grid");
  return static_cast<std::int32_t>(node);
}

std::int32_t node_count(double steps, const std::string& title) {
  constexpr double most = 2147483646;
  if (!(steps >= 0 && steps <= most))
    throw client::error("column \"" + title + "\": too many nodes for a grid");
  return static_cast<std::int32_t>(steps) + 1;
}

// The axis that the places tell, where the options don't: from the least place, in steps of the least
// distance.
axis find_axis(const std::vector<double>& values, const std::string& title, const grid_options& options,
               std::size_t index) {
  std::vector<double> sorted = values;
  std::sort(sorted.begin(), sorted.end());
  axis found;
  found.origin = options.origin.empty() ? sorted.front() : options.origin[index];
  const double span = sorted.back() - found.origin;
  if (!options.mesh.empty()) {
    found.mesh = options.mesh[index];
  } else {
    double least = 0;
    for (std::size_t i = 1; i < sorted.size(); ++i) {
      const double step = sorted[i] - sorted[i - 1];
      // Steps within the accuracy of the coordinates are none.
      if (step > std::abs(span) * 1e-9 && (least == 0 || step < least)) least = step;
    }
    // Over all nodes the distance is more exact than between two of them, if the nodes fill the span at all.
    if (least > 0) {
      const double steps = std::round(span / least);
      found.mesh = std::abs(span / least - steps) < 0.1 ? span / steps : least;
    }
  }
  if (!(found.mesh > 0) || !std::isfinite(found.mesh))
    throw client::error("column \"" + title + "\" gives no mesh: name it with --mesh");
  found.nodes =
      options.nodes.empty() ? node_count(std::round(span / found.mesh), title) : options.nodes[index];
  return found;
}

// Node numbers from 1; the options tell where the nodes lie.
axis numbered_axis(const std::vector<double>& values, const std::string& title, const grid_options& options,
                   std::size_t index) {
  axis found;
  const double highest = *std::max_element(values.begin(), values.end());
  if (!options.origin.empty()) found.origin = options.origin[index];
  if (!options.mesh.empty()) found.mesh = options.mesh[index];
  found.nodes = options.nodes.empty() ? node_count(highest - 1, title) : options.nodes[index];
  return found;
}

void check_count(std::size_t count, std::size_t dimension, const char* option) {
  if (count != 0 && count != dimension)
    throw client::error(std::string(option) + " needs one value for each of the " +
                        std::to_string(dimension) + " axes");
}

void import_grid(const common_options& common, const grid_options& options) {
  const csv_table table = read_table(options.table);
  if (table.rows() == 0) throw client::error("the table has no rows");
  std::vector<std::string> titles = {options.x, options.y};
  if (!options.z.empty()) titles.push_back(options.z);
  check_count(options.origin.size(), titles.size(), "--origin");
  check_count(options.mesh.size(), titles.size(), "--mesh");
  check_count(options.nodes.size(), titles.size(), "--nodes");
  if (!options.rotation.empty() && !options.numbered)
    throw client::error("--rotation needs --numbered: places of turned nodes cannot be told apart");

  std::vector<axis> axes;
  std::vector<std::vector<std::int32_t>> nodes_of_rows;
  std::int64_t samples = 1;
  for (std::size_t i = 0; i < titles.size(); ++i) {
    const std::vector<double> values = to_places(table, titles[i], options.cells);
    axes.push_back(options.numbered ? numbered_axis(values, titles[i], options, i)
                                    : find_axis(values, titles[i], options, i));
    const axis counted = options.numbered ? axis{1, 1, axes[i].nodes} : axes[i];
    std::vector<std::int32_t> nodes(table.rows());
    for (std::size_t row = 0; row < nodes.size(); ++row)
      nodes[row] = node_of(values[row], counted, titles[i], table, row);
    nodes_of_rows.push_back(std::move(nodes));
    constexpr std::int64_t most = std::int64_t{1} << 32;
    if (axes[i].nodes < 1 || samples > most / axes[i].nodes) throw client::error("too many nodes for a grid");
    samples *= axes[i].nodes;
  }

  // Along the last axis first.
  sample_places places{samples, std::vector<std::size_t>(table.rows())};
  std::vector<bool> taken(static_cast<std::size_t>(samples));
  for (std::size_t row = 0; row < table.rows(); ++row) {
    std::size_t place = 0;
    for (std::size_t i = 0; i < axes.size(); ++i)
      place =
          place * static_cast<std::size_t>(axes[i].nodes) + static_cast<std::size_t>(nodes_of_rows[i][row]);
    if (taken[place]) throw client::error(table.where(row) + ": its node has a row already");
    taken[place] = true;
    places.of_row[row] = place;
  }

  client::grid_geometry grid;
  grid.dimension = static_cast<std::int32_t>(axes.size());
  grid.origin = {axes[0].origin, axes[1].origin, 0};
  grid.mesh = {axes[0].mesh, axes[1].mesh, 0};
  grid.nx = axes[0].nodes;
  grid.ny = axes[1].nodes;
  if (axes.size() > 2) {
    grid.origin.z = axes[2].origin;
    grid.mesh.z = axes[2].mesh;
    grid.nz = axes[2].nodes;
  }
  std::vector<double> angles = options.rotation;
  angles.resize(3, 0);
  import_file(common, options, table, plan_variables(table, options, titles), places, {},
              [&](file_making& making) {
                making.server.new_grid(options.file, grid);
                making.made = true;
                if (options.rotation.empty()) return;
                making.server.set_file(options.file);
                making.server.set_grid_rotation(angles[0], angles[1], angles[2]);
              });
}

}  // namespace

void add_grid_import(const command_line& parent, const common_options& common) {
  const command_line command =
      parent.add_subcommand("grid", "One node for each row; nodes without a row are missing");
  auto options = std::make_shared<grid_options>();
  add_import_options(command, *options);
  command.add_option("--x", options->x, "Column of the X coordinates (default: x)").type_name("NAME");
  command.add_option("--y", options->y, "Column of the Y coordinates (default: y)").type_name("NAME");
  command.add_option("--z", options->z, "Column of the Z coordinates (default: none, a 2D grid)")
      .type_name("NAME");
  command.add_flag("--numbered", options->numbered, "The columns hold numbers of nodes, from 1");
  command.add_option("--origin", options->origin, "First node (default: the least coordinates, or 0)")
      .expected(2, 3);
  command.add_option("--mesh", options->mesh, "Distance of neighbours (default: the least, or 1)")
      .expected(2, 3);
  command.add_option("--nodes", options->nodes, "Nodes along each axis (default: those of the table)")
      .expected(2, 3);
  command.add_option("--rotation", options->rotation, "Angles in degrees, 1 in 2D, 3 in 3D; needs --numbered")
      .expected(1, 3);
  command.callback([options, &common] { import_grid(common, *options); });
}

}  // namespace qrd::command
