// The values along one line, side by side with their depth.
#include <algorithm>

#include "plot/kinds.h"
#include "plot/traces.h"

namespace qrd::plot {

namespace {

// A sample of the line, from and to a depth along it.
struct log_piece {
  std::size_t place = 0;  // in the line, from 0
  double top = 0;
  double bottom = 0;
};

std::vector<log_piece> pieces_of(const trace& of) {
  std::vector<log_piece> pieces;
  double depth = 0;
  for (const trace_piece& piece : of.pieces) {
    const double bottom = depth + piece.length();
    pieces.push_back({piece.sample - static_cast<std::size_t>(of.line.first - 1), depth, bottom});
    depth = bottom;
  }
  return pieces;
}

// Bars from the zero of the axis, or from its low end, to the values; what is missing is a pale band.
void draw_track(picture& on, const field& in, const std::vector<log_piece>& pieces,
                const std::vector<double>& numbers, const sample_colours& colours) {
  const double zero = std::clamp(0.0, in.x.range.low, in.x.range.high);
  on.shapes.emplace_back(clip{in.area});
  for (const log_piece& piece : pieces) {
    const std::optional<rgb> colour = colour_at(colours, piece.place);
    const double value = colour ? numbers[piece.place] : 0;
    const double left = colour ? std::min(zero, value) : in.x.range.low;
    const double right = colour ? std::max(zero, value) : in.x.range.high;
    const point corner = in.at(left, piece.top), other = in.at(right, piece.bottom);
    const std::optional<rgb> edge = colour && other.y - corner.y > 3 ? std::optional(dark) : std::nullopt;
    on.add_box({corner.x, corner.y, other.x - corner.x, other.y - corner.y},
               {colour.value_or(tint(pale, 0.55)), edge, 0.3, !edge});
  }
  on.shapes.emplace_back(clip{});
  draw_frame(on, in);
}

// What lines of points tell: a mark at each, joined as long as none is missing.
void draw_curve(picture& on, const field& in, const std::vector<log_piece>& pieces,
                const std::vector<double>& numbers, const sample_colours& colours) {
  path curve{{}, false, {std::nullopt, grey, 0.75}};
  std::vector<circle> marks;
  bool goes_on = false;
  for (const log_piece& piece : pieces) {
    const std::optional<rgb> colour = colour_at(colours, piece.place);
    if (colour) {
      const point at = in.at(numbers[piece.place], piece.bottom);
      if (!goes_on) curve.parts.emplace_back();
      curve.parts.back().push_back(at);
      marks.push_back({at, 2.5, {colour, dark, 0.4}});
    }
    goes_on = colour.has_value();
  }
  on.shapes.emplace_back(clip{in.area});
  on.shapes.emplace_back(std::move(curve));
  for (circle& one : marks) on.shapes.emplace_back(one);
  on.shapes.emplace_back(clip{});
  draw_frame(on, in);
}

}  // namespace

picture draw_strip_log(source& from) {
  const request& wish = from.wish();
  if (!from.file().has_lines()) throw client::error("a strip log needs a file of lines");
  if (wish.variables.empty()) throw client::error("a strip log needs a variable");
  const client::line line = from.file().find_line(wish.line);
  const trace way = read_trace(from, line);
  if (way.pieces.empty())
    throw client::error("there is nothing to draw: the line has no samples with a place");
  const std::vector<log_piece> pieces = pieces_of(way);
  const client::sample_range range{line.first, line.last};
  const chosen_samples chosen = from.read_selection(range);

  struct track {
    values all;
    coloured_samples shown;
    extent numbers;
  };
  std::vector<track> tracks;
  for (const std::string& name : wish.variables) {
    track one{from.read(from.number_column(name), range), {}, {}};
    one.shown = colour_samples(from, one.all, chosen);
    for (std::size_t i = 0; i < one.all.numbers.size(); ++i)
      if (colour_at(one.shown.colours, i)) one.numbers.add(one.all.numbers[i]);
    // Bars begin at zero.
    if (one.numbers.low > 0) one.numbers.low = 0;
    if (one.numbers.high < 0) one.numbers.high = 0;
    tracks.push_back(std::move(one));
  }
  const bool is_alone = tracks.size() == 1;
  legend at_side = is_alone ? tracks[0].shown.at_side : legend{};
  const std::string what = "line " + (line.name.empty() ? std::to_string(line.number) : line.name);
  std::string below = is_alone ? tracks[0].shown.told.text("samples", wish.selection) : "";
  for (std::size_t i = 0; !is_alone && i < tracks.size(); ++i)
    below += (i > 0 ? "; " : "") + tracks[i].all.column.title + ": " +
             tracks[i].shown.told.text("samples", wish.selection);
  page made =
      make_page(wish.whole, {from.title(is_alone ? what + ", " + tracks[0].all.title() : what), below},
                is_alone ? width_of(at_side) : 0);

  const extent depths{0, std::max(pieces.back().bottom, 1e-9)};
  constexpr double gap = 12;
  const double width = (made.room.width + gap) / static_cast<double>(tracks.size()) - gap;
  constexpr double narrowest = 110;
  if (width < narrowest) throw client::error("so many variables side by side need a wider picture");
  const bool are_cores = from.file().info().organisation == client::organisation::core_lines;
  const std::string depth_title =
      with_unit(are_cores ? "depth along the line" : "distance along the line", from.coordinate_unit());
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const track& one = tracks[i];
    const box room{made.room.left + static_cast<double>(i) * (width + gap), made.room.top, width,
                   made.room.height};
    const extent span = one.numbers.size() > 0
                            ? extent{one.numbers.low, one.numbers.high + 0.04 * one.numbers.size()}
                            : widened(one.numbers, 0.04);
    const field on =
        draw_field(made.drawn, room, span, depths, {one.all.title(), i == 0 ? depth_title : ""}, true);
    (are_cores ? draw_track : draw_curve)(made.drawn, on, pieces, one.all.numbers, one.shown.colours);
  }
  if (is_alone) draw_legend(made.drawn, made.side, at_side, 0);
  return std::move(made.drawn);
}

}  // namespace qrd::plot
