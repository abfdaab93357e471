// A level of a grid, seen from above.
#include <algorithm>

#include "plot/grid.h"
#include "plot/kinds.h"
#include "plot/marks.h"
#include "plot/objects.h"

namespace qrd::plot {

namespace {

// The nodes of the level that are drawn: of very many only one in so many, with a cell that much larger.
struct level_nodes {
  std::int64_t level = 0;  // from 0
  std::int64_t step_x = 1;
  std::int64_t step_y = 1;
  std::vector<std::size_t> samples;  // x by x, along y in each
};

level_nodes nodes_of(const grid& of, const std::optional<std::int64_t>& level) {
  constexpr std::int64_t most = 500;  // as many as a picture can show
  level_nodes chosen;
  chosen.level = level.value_or((of.nodes(2) + 1) / 2) - 1;
  if (chosen.level < 0 || chosen.level >= of.nodes(2))
    throw client::error("there is no level " + std::to_string(chosen.level + 1) + ": the grid has " +
                        std::to_string(of.nodes(2)));
  chosen.step_x = (of.nodes(0) + most - 1) / most;
  chosen.step_y = (of.nodes(1) + most - 1) / most;
  for (std::int64_t ix = 0; ix < of.nodes(0); ix += chosen.step_x)
    for (std::int64_t iy = 0; iy < of.nodes(1); iy += chosen.step_y)
      chosen.samples.push_back(of.sample(ix, iy, chosen.level));
  return chosen;
}

class level_view {
 public:
  level_view(const grid& of, const field& in, std::int64_t level) : grid_(of), in_(in), level_(level) {}
  point at(double ix, double iy) const {
    const client::point3 place = grid_.at(ix, iy, static_cast<double>(level_));
    return in_.at(place.x, place.y);
  }
  // From the edge of one node to that of another.
  std::vector<point> cell(std::int64_t ix, std::int64_t to_ix, std::int64_t iy, std::int64_t to_iy) const {
    const double left = edge(ix), right = edge(std::min(to_ix, grid_.nodes(0)));
    const double low = edge(iy), high = edge(std::min(to_iy, grid_.nodes(1)));
    return {at(left, low), at(right, low), at(right, high), at(left, high)};
  }

 private:
  static double edge(std::int64_t node) { return static_cast<double>(node) - 0.5; }
  const grid& grid_;
  const field& in_;
  std::int64_t level_;
};

// Cells of one colour in a row become one.
void draw_cells(picture& on, const grid& of, const level_nodes& nodes, const sample_colours& colours,
                const level_view& view) {
  coloured_cells cells;
  std::size_t next = 0;
  for (std::int64_t ix = 0; ix < of.nodes(0); ix += nodes.step_x) {
    std::int64_t begin = 0;
    std::optional<rgb> last;
    const auto end_at = [&](std::int64_t iy) {
      if (last) cells.add(*last, view.cell(ix, ix + nodes.step_x, begin, iy));
    };
    for (std::int64_t iy = 0; iy < of.nodes(1); iy += nodes.step_y, ++next) {
      const std::optional<rgb> colour = colour_at(colours, next);
      if (colour == last) continue;
      end_at(iy);
      begin = iy;
      last = colour;
    }
    end_at(of.nodes(1));
  }
  cells.draw(on, !of.is_turned());
}

// The mesh, if it isn't too fine to be seen.
void draw_mesh(picture& on, const grid& of, const level_view& view) {
  constexpr std::int64_t most = 60;
  const auto x = static_cast<double>(of.nodes(0)) - 0.5, y = static_cast<double>(of.nodes(1)) - 0.5;
  const look thin{std::nullopt, tint(plain_mark, 0.5), 0.5};
  if (std::max(of.nodes(0), of.nodes(1)) > most) return;
  for (std::int64_t ix = 1; ix < of.nodes(0); ++ix) {
    const double at = static_cast<double>(ix) - 0.5;
    on.add_line(view.at(at, -0.5), view.at(at, y), thin);
  }
  for (std::int64_t iy = 1; iy < of.nodes(1); ++iy) {
    const double at = static_cast<double>(iy) - 0.5;
    on.add_line(view.at(-0.5, at), view.at(x, at), thin);
  }
}

std::string text_below(const grid& of, const level_nodes& nodes, const counts& told, const request& wish) {
  std::string text = std::to_string(of.nodes(0)) + " × " + std::to_string(of.nodes(1));
  if (of.nodes(2) > 1) text += " × " + std::to_string(of.nodes(2));
  text += " nodes";
  if (of.nodes(2) > 1) text += ", level " + std::to_string(nodes.level + 1);
  if (told.samples > 0) text += "; " + told.text("nodes", wish.selection, " drawn");
  if (nodes.step_x > 1 || nodes.step_y > 1)
    text += "; each " + std::to_string(nodes.step_x) + ". along x and " + std::to_string(nodes.step_y) +
            ". along y";
  return text;
}

}  // namespace

picture draw_grid_map(source& from) {
  const auto column = from.only_variable();
  const grid of(from.file().info());
  const level_nodes nodes = nodes_of(of, from.wish().level);
  const objects beside = objects_of(from);
  coloured_samples shown;
  if (column)
    shown =
        colour_samples(from, from.read_some(*column, nodes.samples), from.read_some_selection(nodes.samples));

  const auto last_x = static_cast<double>(of.nodes(0)) - 0.5, last_y = static_cast<double>(of.nodes(1)) - 0.5;
  extent x, y;
  for (const double ix : {-0.5, last_x})
    for (const double iy : {-0.5, last_y}) {
      const client::point3 corner = of.at(ix, iy, static_cast<double>(nodes.level));
      x.add(corner.x);
      y.add(corner.y);
    }
  beside.add_to(x, y);
  shown.at_side.objects = beside.entries();
  if (x.is_empty() || y.is_empty()) throw client::error("there is nothing to draw: the grid has no place");

  page made = make_page(from.wish().whole,
                        {from.title(shown.at_side.title), text_below(of, nodes, shown.told, from.wish())},
                        width_of(shown.at_side));
  const std::string& unit = from.coordinate_unit();
  const field on = draw_map_field(made.drawn, made.room, widened(x, 0.03), widened(y, 0.03),
                                  {with_unit("X", unit), with_unit("Y", unit)});
  const level_view view(of, on, nodes.level);
  made.drawn.shapes.emplace_back(clip{on.area});
  if (column)
    draw_cells(made.drawn, of, nodes, shown.colours, view);
  else
    draw_mesh(made.drawn, of, view);
  made.drawn.shapes.emplace_back(
      path{{view.cell(0, of.nodes(0), 0, of.nodes(1))}, true, {std::nullopt, grey, 0.75}});
  made.drawn.shapes.emplace_back(clip{});
  beside.draw_polygons(made.drawn, on, unit, true);
  beside.draw_above(made.drawn, on);
  finish_map(made, on, unit, shown.at_side);
  return std::move(made.drawn);
}

}  // namespace qrd::plot
