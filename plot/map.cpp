// What a file looks like from above.
#include "plot/kinds.h"
#include "plot/marks.h"
#include "plot/objects.h"
#include "plot/traces.h"

namespace qrd::plot {

namespace {

// The samples of a file: those of points at their places, those of lines along their traces.
struct map_samples {
  std::vector<client::point3> places;  // of points
  std::vector<trace> traces;
  bool has_lines = false;
  bool are_cores = false;
};

map_samples read_samples(source& from) {
  map_samples read;
  const client::file_info& info = from.file().info();
  read.has_lines = from.file().has_lines();
  read.are_cores = info.organisation == client::organisation::core_lines;
  if (read.has_lines) {
    read.traces = read_traces(from);
    return read;
  }
  const std::vector<double> x = from.coordinates(0), y = from.coordinates(1);
  for (std::size_t i = 0; i < x.size() && i < y.size(); ++i) read.places.push_back({x[i], y[i], 0});
  return read;
}

void add_to(const map_samples& samples, extent& x, extent& y) {
  const auto add = [&](const client::point3& at) {
    x.add(at.x);
    y.add(at.y);
  };
  for (const client::point3& at : samples.places) add(at);
  for (const trace& one : samples.traces)
    for (const trace_piece& piece : one.pieces) {
      add(piece.from);
      add(piece.to);
    }
}

void draw_traces(picture& on, const field& in, const map_samples& samples, const sample_colours& colours,
                 bool has_values) {
  const auto at = [&](const client::point3& place) { return in.at(place.x, place.y); };
  coloured_pieces ways, cores;
  std::vector<mark> marks;
  for (const trace& one : samples.traces)
    for (const trace_piece& piece : one.pieces) {
      ways.add(has_values ? grey : plain_mark, at(piece.from), at(piece.to));
      if (!has_values) continue;
      const std::optional<rgb> colour = colour_at(colours, piece.sample);
      if (!samples.are_cores)
        marks.push_back({at(piece.to), colour});
      else if (colour)
        cores.add(*colour, at(piece.from), at(piece.to));
    }
  on.shapes.emplace_back(clip{in.area});
  ways.draw(on, 0.75);
  cores.draw(on, 3.5);
  on.shapes.emplace_back(clip{});
  draw_marks(on, in.area, std::move(marks));
  name_labels names(in.area);
  for (const trace& one : samples.traces) {
    if (one.pieces.empty()) continue;
    const point start = at(one.pieces.front().from);
    on.shapes.emplace_back(circle{start, 1.8, {dark, std::nullopt}});
    names.add_beside(on, start, one.line.name);
  }
}

}  // namespace

picture draw_map(source& from) {
  if (from.file().is_grid()) return draw_grid_map(from);
  const auto column = from.only_variable();
  objects beside = objects_of(from);
  // A sample that is a polygon or a wireframe isn't drawn for itself.
  const map_samples samples = beside.are_samples ? map_samples() : read_samples(from);

  const chosen_samples chosen = from.read_selection();
  coloured_samples shown;
  if (column) {
    shown = colour_samples(from, from.read(*column), chosen);
  } else {
    shown.colours.resize(static_cast<std::size_t>(from.file().samples()));
    for (std::size_t i = 0; i < shown.colours.size(); ++i)
      if (count_value(shown.told, is_chosen(chosen, i), 0)) shown.colours[i] = plain_mark;
  }
  beside.choose(chosen, column ? &shown.colours : nullptr);
  shown.at_side.objects = beside.entries();
  extent x, y;
  add_to(samples, x, y);
  beside.add_to(x, y);
  if (x.is_empty() || y.is_empty())
    throw client::error("there is nothing to draw: the file has nothing with a place");

  const std::string below =
      shown.told.text(beside.are_samples ? beside.noun() : "samples", from.wish().selection,
                      samples.has_lines ? " in " + counted(samples.traces.size(), "lines") : "");
  page made = make_page(from.wish().whole, {from.title(shown.at_side.title), below}, width_of(shown.at_side));
  const std::string& unit = from.coordinate_unit();
  const field on = draw_map_field(made.drawn, made.room, widened(x, 0.04), widened(y, 0.04),
                                  {with_unit("X", unit), with_unit("Y", unit)});
  beside.draw_polygons(made.drawn, on, unit);
  if (samples.has_lines) {
    draw_traces(made.drawn, on, samples, shown.colours, column.has_value());
  } else {
    std::vector<mark> marks;
    for (std::size_t i = 0; i < samples.places.size(); ++i) {
      const client::point3& place = samples.places[i];
      if (is_chosen(chosen, i) && is_value(place.x) && is_value(place.y))
        marks.push_back({on.at(place.x, place.y), colour_at(shown.colours, i)});
    }
    draw_marks(made.drawn, on.area, std::move(marks));
  }
  beside.draw_above(made.drawn, on);
  finish_map(made, on, unit, shown.at_side);
  return std::move(made.drawn);
}

}  // namespace qrd::plot
