// What lies near a vertical plane between two points of the map.
#include <algorithm>
#include <cmath>

#include "plot/grid.h"
#include "plot/kinds.h"
#include "plot/marks.h"
#include "plot/objects.h"
#include "plot/traces.h"

namespace qrd::plot {

namespace {

client::point3 middle(const trace_piece& of) {
  return {(of.from.x + of.to.x) / 2, (of.from.y + of.to.y) / 2, (of.from.z + of.to.z) / 2};
}

// The page of a section with its field.
struct section_page {
  page made;
  field on;
};

section_page make_section_page(source& from, const plane& at, const extent& z, const coloured_samples& shown,
                               std::string below) {
  const section_wish& wish = from.wish().section;
  const std::string& unit = from.coordinate_unit();
  const extent heights = widened(z, 0.06), along = widened({0, at.length()}, 0.01);
  constexpr double usual_shape = 0.7;  // a height of the field to its width
  const double fitting = usual_shape * along.size() / heights.size();
  const double exaggeration = wish.exaggeration.value_or(fitting > 1 ? round_step(fitting) : 1);
  below += "; " + at.text(unit);
  if (exaggeration != 1) below += ", heights × " + short_text(exaggeration);
  section_page drawn{
      make_page(from.wish().whole, {from.title(shown.at_side.title), below}, width_of(shown.at_side)), {}};
  drawn.on = draw_map_field(drawn.made.drawn, drawn.made.room, along, heights,
                            {with_unit("along the section", unit), with_unit("Z", unit)}, exaggeration);
  return drawn;
}

picture finish(section_page drawn, source& from, const coloured_samples& shown) {
  draw_frame(drawn.made.drawn, drawn.on);
  draw_scale_bar(drawn.made.drawn, drawn.made.side, drawn.on, from.coordinate_unit());
  draw_legend(drawn.made.drawn, drawn.made.side, shown.at_side, map_signs_height);
  return std::move(drawn.made.drawn);
}

// Of samples, all have to be given colours; only those that `is_shown` are counted.
template <typename Shown>
coloured_samples colour_near(source& from, const std::optional<client::column>& column,
                             const Shown& is_shown) {
  if (!column) return {};
  const values all = from.read(*column);
  chosen_samples chosen = from.read_selection();
  values near{all.column, {}, all.unit};
  chosen_samples near_chosen;
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < all.numbers.size(); ++i) {
    if (!is_shown(i)) continue;
    near.numbers.push_back(all.numbers[i]);
    near_chosen.push_back(is_chosen(chosen, i));
    places.push_back(i);
  }
  coloured_samples shown = colour_samples(from, near, near_chosen);
  sample_colours colours(all.numbers.size());
  for (std::size_t i = 0; i < places.size(); ++i) colours[places[i]] = shown.colours[i];
  shown.colours = std::move(colours);
  return shown;
}

std::string corridor_text(const plane& at, const std::string& unit) {
  return " in a corridor of " + short_text(at.width()) + (unit.empty() ? "" : " " + unit);
}

picture draw_points_section(source& from, const plane& at, const objects& beside) {
  const cut_objects cut(beside, at);
  const std::vector<double> x = from.coordinates(0), y = from.coordinates(1), z = from.coordinates(2);
  std::vector<std::pair<std::size_t, client::point3>> near;
  extent heights = cut.heights();
  std::vector<bool> is_near(x.size());
  for (std::size_t i = 0; i < std::min({x.size(), y.size(), z.size()}); ++i) {
    const client::point3 place{x[i], y[i], z[i]};
    if (!is_value(z[i]) || !at.is_near(place)) continue;
    is_near[i] = true;
    near.emplace_back(i, place);
    heights.add(z[i]);
  }
  if (heights.is_empty())
    throw client::error("there is nothing to draw: no sample lies in the corridor of the section");
  const auto column = from.only_variable();
  coloured_samples shown;
  if (!near.empty())
    shown = colour_near(from, column, [&](std::size_t i) { return i < is_near.size() && is_near[i]; });
  shown.at_side.objects = cut.entries();
  const chosen_samples chosen = from.read_selection();
  section_page drawn = make_section_page(
      from, at, heights, shown, counted(near.size(), "samples") + corridor_text(at, from.coordinate_unit()));
  std::vector<mark> marks;
  for (const auto& [sample, place] : near)
    if (is_chosen(chosen, sample))
      marks.push_back(
          {drawn.on.at(at.along(place), place.z), column ? colour_at(shown.colours, sample) : plain_mark});
  cut.draw(drawn.made.drawn, drawn.on);
  draw_marks(drawn.made.drawn, drawn.on.area, std::move(marks));
  return finish(std::move(drawn), from, shown);
}

picture draw_lines_section(source& from, const plane& at, const objects& beside) {
  const cut_objects cut(beside, at);
  const bool are_cores = from.file().info().organisation == client::organisation::core_lines;
  std::vector<trace> traces = read_traces(from);
  extent heights = cut.heights();
  std::size_t lines = 0;
  std::vector<bool> is_near(static_cast<std::size_t>(from.file().samples()));
  for (trace& one : traces) {
    std::erase_if(one.pieces, [&](const trace_piece& piece) { return !at.is_near(middle(piece)); });
    for (const trace_piece& piece : one.pieces) {
      heights.add(piece.from.z);
      heights.add(piece.to.z);
      if (piece.sample < is_near.size()) is_near[piece.sample] = true;
    }
    if (!one.pieces.empty()) ++lines;
  }
  if (heights.is_empty())
    throw client::error("there is nothing to draw: no line lies in the corridor of the section");
  const auto column = from.only_variable();
  coloured_samples shown;
  if (lines > 0)
    shown = colour_near(from, column, [&](std::size_t i) { return i < is_near.size() && is_near[i]; });
  shown.at_side.objects = cut.entries();
  section_page drawn = make_section_page(from, at, heights, shown,
                                         counted(lines, "lines") + corridor_text(at, from.coordinate_unit()));
  picture& on = drawn.made.drawn;
  const auto place = [&](const client::point3& of) { return drawn.on.at(at.along(of), of.z); };
  coloured_pieces ways, cores;
  std::vector<mark> marks;
  for (const trace& one : traces)
    for (const trace_piece& piece : one.pieces) {
      ways.add(column ? grey : plain_mark, place(piece.from), place(piece.to));
      const std::optional<rgb> colour = colour_at(shown.colours, piece.sample);
      if (column && !are_cores) marks.push_back({place(piece.to), colour});
      if (column && are_cores && colour) cores.add(*colour, place(piece.from), place(piece.to));
    }
  cut.draw(on, drawn.on);
  on.shapes.emplace_back(clip{drawn.on.area});
  ways.draw(on, 0.75);
  cores.draw(on, 4.5);
  on.shapes.emplace_back(clip{});
  draw_marks(on, drawn.on.area, std::move(marks));
  name_labels names(drawn.on.area);
  for (const trace& one : traces)
    if (!one.pieces.empty()) names.add_beside(on, place(one.pieces.front().from), one.line.name);
  return finish(std::move(drawn), from, shown);
}

// The sample whose cell holds the place.
std::optional<std::size_t> sample_at(const grid& of, const client::point3& place) {
  const client::point3 nodes = of.nodes_at(place);
  const double near[3] = {std::floor(nodes.x + 0.5), std::floor(nodes.y + 0.5), std::floor(nodes.z + 0.5)};
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(near[axis] >= 0 && near[axis] < static_cast<double>(of.nodes(axis)))) return std::nullopt;
  return of.sample(static_cast<std::int64_t>(near[0]), static_cast<std::int64_t>(near[1]),
                   static_cast<std::int64_t>(near[2]));
}

// The cells that the plane cuts, sampled as finely as a picture shows them.
picture draw_grid_section(source& from, const plane& at, const objects& beside) {
  const cut_objects beside_cut(beside, at);
  const auto column = from.only_variable();
  if (!column) throw client::error("a section through a grid needs a variable");
  const grid of(from.file().info());
  extent heights;
  for (const double ix : {-0.5, static_cast<double>(of.nodes(0)) - 0.5})
    for (const double iy : {-0.5, static_cast<double>(of.nodes(1)) - 0.5})
      for (const double iz : {-0.5, static_cast<double>(of.nodes(2)) - 0.5}) heights.add(of.at(ix, iy, iz).z);
  constexpr std::size_t columns = 600, rows = 400;
  if (heights.is_empty()) throw client::error("there is nothing to draw: the grid has no place");
  const double width = at.length() / columns, height = heights.size() / rows;
  std::vector<std::optional<std::size_t>> cut;
  for (std::size_t row = 0; row < rows; ++row)
    for (std::size_t i = 0; i < columns; ++i)
      cut.push_back(sample_at(of, at.at((static_cast<double>(i) + 0.5) * width,
                                        heights.low + (static_cast<double>(row) + 0.5) * height)));
  std::vector<std::size_t> samples;
  for (const auto& one : cut)
    if (one) samples.push_back(*one);
  std::sort(samples.begin(), samples.end());
  samples.erase(std::unique(samples.begin(), samples.end()), samples.end());
  if (samples.empty()) throw client::error("there is nothing to draw: the section does not meet the grid");
  coloured_samples shown =
      colour_samples(from, from.read_some(*column, samples), from.read_some_selection(samples));
  shown.at_side.objects = beside_cut.entries();
  const auto colour_of = [&](const std::optional<std::size_t>& sample) -> std::optional<rgb> {
    if (!sample) return std::nullopt;
    const auto here = std::lower_bound(samples.begin(), samples.end(), *sample);
    return shown.colours[static_cast<std::size_t>(here - samples.begin())];
  };
  extent cut_heights = beside_cut.heights();
  for (std::size_t i = 0; i < cut.size(); ++i)
    if (colour_of(cut[i])) {
      const double low = heights.low + static_cast<double>(i / columns) * height;
      cut_heights.add(low);
      cut_heights.add(low + height);
    }
  section_page drawn = make_section_page(from, at, cut_heights, shown,
                                         shown.told.text("nodes", from.wish().selection, " cut"));

  coloured_cells cells;
  for (std::size_t row = 0; row < rows; ++row) {
    const double low = heights.low + static_cast<double>(row) * height;
    std::size_t begin = 0;
    std::optional<rgb> last;
    for (std::size_t i = 0; i <= columns; ++i) {
      const std::optional<rgb> colour = i < columns ? colour_of(cut[row * columns + i]) : std::nullopt;
      if (colour == last) continue;
      const double left = static_cast<double>(begin) * width, right = static_cast<double>(i) * width;
      if (last)
        cells.add(*last, {drawn.on.at(left, low), drawn.on.at(right, low), drawn.on.at(right, low + height),
                          drawn.on.at(left, low + height)});
      begin = i;
      last = colour;
    }
  }
  drawn.made.drawn.shapes.emplace_back(clip{drawn.on.area});
  cells.draw(drawn.made.drawn, true);
  drawn.made.drawn.shapes.emplace_back(clip{});
  beside_cut.draw(drawn.made.drawn, drawn.on);
  return finish(std::move(drawn), from, shown);
}

// The samples are polygons or wireframes themselves.
picture draw_objects_section(source& from, const plane& at, objects& beside) {
  coloured_samples shown;
  const chosen_samples chosen = from.read_selection();
  const auto column = from.only_variable();
  if (column) shown = colour_samples(from, from.read(*column), chosen);
  beside.choose(chosen, column ? &shown.colours : nullptr);
  const cut_objects cut(beside, at);
  if (cut.heights().is_empty())
    throw client::error("there is nothing to draw: the section cuts nothing that has a height");
  shown.at_side.objects = cut.entries();
  section_page drawn = make_section_page(from, at, cut.heights(), shown, counted(beside.own, beside.noun()));
  cut.draw(drawn.made.drawn, drawn.on);
  return finish(std::move(drawn), from, shown);
}

}  // namespace

picture draw_section(source& from) {
  const client::file_info& info = from.file().info();
  if (info.dimension != 3) throw client::error("a section needs a file in three dimensions");
  const plane at(from.wish().section);
  objects beside = objects_of(from);
  if (beside.are_samples) return draw_objects_section(from, at, beside);
  if (from.file().is_grid()) return draw_grid_section(from, at, beside);
  return from.file().has_lines() ? draw_lines_section(from, at, beside)
                                 : draw_points_section(from, at, beside);
}

}  // namespace qrd::plot
