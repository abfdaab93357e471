#include "command/grid_nodes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "qrd/error.h"

namespace qrd::command {

namespace {

using vector3 = std::array<double, 3>;

// How far a place may lie from its node, in meshes.
constexpr double tolerance = 1e-3;
constexpr double most_samples = 4294967296.0;

// The nodes along one axis.
struct axis {
  double origin = 0;
  double mesh = 1;
  std::int32_t nodes = 1;
};

const char* name_of(std::size_t i) {
  constexpr const char* names[] = {"X", "Y", "Z"};
  return names[i];
}

std::int32_t node_count(double steps, std::size_t i) {
  constexpr double most = 2147483646;
  if (!(steps >= 0 && steps <= most))
    throw client::error(std::string(name_of(i)) + ": too many nodes for a grid");
  return static_cast<std::int32_t>(steps) + 1;
}

void check_wishes(const grid_wishes& wishes, std::size_t dimension) {
  const auto check = [&](std::size_t count, const char* option) {
    if (count != 0 && count != dimension)
      throw client::error(std::string(option) + " needs one value for each of the " +
                          std::to_string(dimension) + " axes");
  };
  check(wishes.origin.size(), "--origin");
  check(wishes.mesh.size(), "--mesh");
  check(wishes.nodes.size(), "--nodes");
}

// The axis that the places tell, where the wishes don't: from the least place, in steps of the least
// distance.
axis find_axis(std::span<const double> values, const grid_wishes& wishes, std::size_t i) {
  std::vector<double> sorted(values.begin(), values.end());
  std::sort(sorted.begin(), sorted.end());
  axis found;
  found.origin = wishes.origin.empty() ? sorted.front() : wishes.origin[i];
  const double span = sorted.back() - found.origin;
  if (!wishes.mesh.empty()) {
    found.mesh = wishes.mesh[i];
  } else {
    double least = 0;
    for (std::size_t k = 1; k < sorted.size(); ++k) {
      const double step = sorted[k] - sorted[k - 1];
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
    throw client::error(std::string(name_of(i)) + ": the places give no mesh: name it with --mesh");
  found.nodes = wishes.nodes.empty() ? node_count(std::round(span / found.mesh), i) : wishes.nodes[i];
  return found;
}

// Node numbers from 1; the wishes tell where the nodes lie.
axis numbered_axis(std::span<const double> values, const grid_wishes& wishes, std::size_t i) {
  axis found;
  if (!wishes.origin.empty()) found.origin = wishes.origin[i];
  if (!wishes.mesh.empty()) found.mesh = wishes.mesh[i];
  found.nodes = !wishes.nodes.empty() ? wishes.nodes[i]
                                      : node_count(*std::max_element(values.begin(), values.end()) - 1, i);
  return found;
}

placed_grid grid_of(const std::vector<axis>& axes, const std::vector<double>& rotation) {
  placed_grid made;
  client::grid_geometry& grid = made.geometry.grid;
  grid.dimension = static_cast<std::int32_t>(axes.size());
  grid.origin = {axes[0].origin, axes[1].origin, axes.size() > 2 ? axes[2].origin : 0};
  grid.mesh = {axes[0].mesh, axes[1].mesh, axes.size() > 2 ? axes[2].mesh : 0};
  grid.nx = axes[0].nodes;
  grid.ny = axes[1].nodes;
  if (axes.size() > 2) grid.nz = axes[2].nodes;
  double samples = 1;
  for (const axis& one : axes) {
    if (one.nodes < 1) throw client::error("a grid needs a node along each axis");
    samples *= one.nodes;
  }
  if (samples > most_samples) throw client::error("too many nodes for a grid");
  made.samples = static_cast<std::int64_t>(samples);
  for (std::size_t i = 0; i < std::min<std::size_t>(3, rotation.size()); ++i)
    made.geometry.angles[i] = rotation[i];
  return made;
}

// Gives each row its node; `counted` are the axes in what the places count.
placing place_rows(const std::vector<std::span<const double>>& places, const std::vector<axis>& axes,
                   const std::vector<axis>& counted, const std::vector<double>& rotation) {
  placed_grid made = grid_of(axes, rotation);
  const std::size_t rows = places[0].size();
  made.sample_of_row.resize(rows);
  std::vector<bool> taken(static_cast<std::size_t>(made.samples));
  bool in_order = rows == taken.size();
  for (std::size_t row = 0; row < rows; ++row) {
    std::size_t place = 0;
    // Along the last axis first.
    for (std::size_t i = 0; i < axes.size(); ++i) {
      const double steps = (places[i][row] - counted[i].origin) / counted[i].mesh;
      const double nearest = std::round(steps);
      if (!(std::abs(steps - nearest) <= tolerance) || nearest < 0 ||
          nearest >= static_cast<double>(axes[i].nodes))
        return wrong_row{row, std::string(name_of(i)) + ": the place is not a node of the grid"};
      place = place * static_cast<std::size_t>(axes[i].nodes) + static_cast<std::size_t>(nearest);
    }
    if (taken[place]) return wrong_row{row, "its node has a row already"};
    taken[place] = true;
    in_order = in_order && place == row;
    made.sample_of_row[row] = place;
  }
  if (in_order) made.sample_of_row.clear();
  return made;
}

double dot(const vector3& a, const vector3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
double length(const vector3& a) {
  return std::sqrt(dot(a, a));
}
vector3 cross(const vector3& a, const vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// One of the nested loops in which the rows run through the nodes.
struct loop {
  vector3 step{};
  std::size_t count = 1;
};

// Of each loop the step and the number of its nodes, the quickest first.
std::optional<std::vector<loop>> find_loops(const std::vector<std::span<const double>>& places) {
  const std::size_t rows = places[0].size();
  const auto difference = [&](std::size_t to, std::size_t from) {
    vector3 found{};
    for (std::size_t i = 0; i < places.size(); ++i) found[i] = places[i][to] - places[i][from];
    return found;
  };
  std::vector<loop> loops;
  std::size_t stride = 1;
  while (stride < rows && loops.size() < places.size()) {
    loop one;
    const vector3 step = difference(stride, 0);
    const double size = length(step);
    if (!(size > 0) || !std::isfinite(size)) return std::nullopt;
    while ((one.count + 1) * stride <= rows) {
      const vector3 next = difference(one.count * stride, (one.count - 1) * stride);
      const vector3 off = {next[0] - step[0], next[1] - step[1], next[2] - step[2]};
      // Printed places have as few digits as their program liked.
      if (!(length(off) <= 0.01 * size)) break;
      ++one.count;
    }
    if (one.count < 2) return std::nullopt;
    const vector3 all = difference((one.count - 1) * stride, 0);
    for (std::size_t i = 0; i < 3; ++i) one.step[i] = all[i] / static_cast<double>(one.count - 1);
    stride *= one.count;
    loops.push_back(one);
  }
  if (stride != rows || loops.empty() || loops.size() + 1 < places.size()) return std::nullopt;
  for (const loop& one : loops)
    if (one.count > 2147483647) return std::nullopt;
  return loops;
}

bool is_full(const std::vector<std::span<const double>>& places, const std::vector<loop>& loops) {
  double least = length(loops[0].step);
  for (const loop& one : loops) least = std::min(least, length(one.step));
  for (std::size_t row = 0; row < places[0].size(); ++row) {
    std::size_t left = row;
    vector3 expected{};
    for (const loop& one : loops) {
      const auto steps = static_cast<double>(left % one.count);
      left /= one.count;
      for (std::size_t i = 0; i < places.size(); ++i) expected[i] += steps * one.step[i];
    }
    for (std::size_t i = 0; i < places.size(); ++i)
      if (!(std::abs(places[i][row] - places[i][0] - expected[i]) <= tolerance * least)) return false;
  }
  return true;
}

// The angles of a turned grid, from the directions of its axes: first about Z, then about Y, then about X.
// The matrix has the rows (cos a cos b, sin a cos b, -sin b), (..., ..., sin c cos b) and (..., ..., cos c
// cos b).
void find_angles(const vector3& u, const vector3& v, const vector3& w, double (&angles)[3]) {
  constexpr double degrees = 180 / std::numbers::pi;
  const double sin_b = std::clamp(-u[2], -1.0, 1.0);
  const double cos_b = std::hypot(u[0], u[1]);
  // Upright, the first and the last one turn about the same axis.
  const bool upright = cos_b < 1e-9;
  angles[0] = (upright ? std::atan2(-v[0], v[1]) : std::atan2(u[1], u[0])) * degrees;
  angles[1] = std::atan2(sin_b, cos_b) * degrees;
  angles[2] = upright ? 0 : std::atan2(v[2], w[2]) * degrees;
  // Angles that were a round number once are one again.
  for (int i = 0; i < 3; ++i) {
    const double rounded = std::round(angles[i] * 1e6) / 1e6;
    if (std::abs(angles[i] - rounded) < 1e-9) angles[i] = rounded + 0.0;
  }
}

// A number that was round once is so again, whatever the arithmetic has left in its last digits.
double rounded_again(double value) {
  constexpr double figures = 1e10;
  const double scale = figures / std::pow(10.0, std::floor(std::log10(std::abs(value))));
  const double rounded = std::round(value * scale) / scale;
  return std::abs(rounded - value) <= 1e-11 * std::abs(value) ? rounded : value;
}

// The loops as the axes of a grid.
struct oriented {
  std::vector<loop> loops;  // of each axis
  vector3 direction[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  double angles[3] = {0, 0, 0};
  bool last_first;

  // The last axis is the quickest one, or the first. `alone` is an axis with a single node.
  oriented(const std::vector<loop>& found, std::size_t dimension, std::optional<std::size_t> alone,
           bool from_last)
      : last_first(from_last) {
    std::vector<loop> ordered = found;
    if (from_last) std::reverse(ordered.begin(), ordered.end());
    if (alone) ordered.insert(ordered.begin() + static_cast<std::ptrdiff_t>(*alone), loop{{0, 0, 0}, 1});
    for (std::size_t i = 0; i < dimension; ++i)
      if (i != alone)
        for (std::size_t k = 0; k < 3; ++k) direction[i][k] = ordered[i].step[k] / length(ordered[i].step);
    if (alone) {
      direction[*alone] = cross(direction[(*alone + 1) % 3], direction[(*alone + 2) % 3]);
      // Nobody can tell its mesh.
      ordered[*alone].step = direction[*alone];
    }
    loops = std::move(ordered);
    find_angles(direction[0], direction[1], direction[2], angles);
  }

  // Right angles between the axes, and no mirror.
  bool is_turned() const {
    const auto right = [&](int a, int b) { return std::abs(dot(direction[a], direction[b])) < 1e-4; };
    return right(0, 1) && right(0, 2) && right(1, 2) &&
           dot(cross(direction[0], direction[1]), direction[2]) > 0;
  }
  double tilt() const { return std::abs(angles[1]) + std::abs(angles[2]); }
};

}  // namespace

std::optional<placed_grid> full_grid(const std::vector<std::span<const double>>& places, bool own_order) {
  const auto loops = find_loops(places);
  if (!loops || !is_full(places, *loops)) return std::nullopt;
  const std::size_t dimension = places.size();
  const bool is_along_axes = std::all_of(loops->begin(), loops->end(), [](const loop& one) {
    const auto& [x, y, z] = one.step;
    return std::max({std::abs(x), std::abs(y), std::abs(z)}) > (1 - 1e-9) * length(one.step);
  });
  if (is_along_axes && (!own_order || loops->size() < dimension)) return std::nullopt;

  std::optional<oriented> best;
  const auto consider = [&](oriented candidate) {
    if (candidate.is_turned() && (!best || candidate.tilt() < best->tilt())) best = candidate;
  };
  if (loops->size() == dimension) {
    consider(oriented(*loops, dimension, std::nullopt, true));
    // Of the two orders only one gives axes that are turned and not mirrored.
    if (!own_order) consider(oriented(*loops, dimension, std::nullopt, false));
  } else {
    for (std::size_t alone = dimension; alone-- > 0;) consider(oriented(*loops, dimension, alone, true));
  }
  if (!best) return std::nullopt;
  std::vector<axis> axes;
  for (std::size_t i = 0; i < dimension; ++i)
    axes.push_back({places[i][0], rounded_again(length(best->loops[i].step)),
                    static_cast<std::int32_t>(best->loops[i].count)});
  placed_grid made = grid_of(axes, {});
  std::copy_n(best->angles, 3, made.geometry.angles);
  if (best->last_first) return made;
  const std::size_t rows = places[0].size();
  made.sample_of_row.resize(rows);
  for (std::size_t row = 0; row < rows; ++row) {
    std::size_t left = row, behind = rows, place = 0;
    for (const loop& one : best->loops) {
      behind /= one.count;
      place += left % one.count * behind;
      left /= one.count;
    }
    made.sample_of_row[row] = place;
  }
  return made;
}

placing straight_grid(const std::vector<std::span<const double>>& places, const grid_wishes& wishes) {
  check_wishes(wishes, places.size());
  std::vector<axis> axes;
  for (std::size_t i = 0; i < places.size(); ++i) axes.push_back(find_axis(places[i], wishes, i));
  return place_rows(places, axes, axes, {});
}

placing numbered_grid(const std::vector<std::span<const double>>& numbers, const grid_wishes& wishes) {
  check_wishes(wishes, numbers.size());
  std::vector<axis> axes, counted;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    axes.push_back(numbered_axis(numbers[i], wishes, i));
    counted.push_back({1, 1, axes[i].nodes});
  }
  return place_rows(numbers, axes, counted, wishes.rotation);
}

placed_grid listed_grid(std::size_t rows, const grid_wishes& wishes) {
  const std::size_t dimension = wishes.nodes.size();
  check_wishes(wishes, dimension);
  std::vector<axis> axes;
  for (std::size_t i = 0; i < dimension; ++i)
    axes.push_back({wishes.origin.empty() ? 0 : wishes.origin[i], wishes.mesh.empty() ? 1 : wishes.mesh[i],
                    wishes.nodes[i]});
  placed_grid made = grid_of(axes, wishes.rotation);
  if (static_cast<std::uint64_t>(made.samples) != rows)
    throw client::error("the table has " + std::to_string(rows) + " rows for " +
                        std::to_string(made.samples) + " nodes");
  const auto nx = static_cast<std::size_t>(axes[0].nodes), ny = static_cast<std::size_t>(axes[1].nodes);
  const std::size_t nz = dimension > 2 ? static_cast<std::size_t>(axes[2].nodes) : 1;
  made.sample_of_row.resize(rows);
  for (std::size_t row = 0; row < rows; ++row)
    made.sample_of_row[row] = (row % nx * ny + row / nx % ny) * nz + row / nx / ny;
  return made;
}

}  // namespace qrd::command
