#include "plot/page.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qrd::plot {

namespace {

constexpr double margin = 16;
constexpr double tick_size = 9;
constexpr double axis_title_size = 10;
constexpr double below_axis = 34;  // tick labels and title
constexpr double points_per_x_tick = 40;
constexpr double points_per_y_tick = 45;

int ticks_in(double length, double each) {
  return std::max(2, static_cast<int>(length / each));
}

double widest(const axis& of) {
  double width = 0;
  for (const double tick : of.ticks) width = std::max(width, width_of(of.text(tick), tick_size));
  return width;
}

double left_of_axis(const axis& y) {
  return widest(y) + axis_title_size + 18;
}

field bare_field(const box& room, const extent& x, const extent& y, bool is_downwards) {
  const double height = room.height - below_axis;
  field made;
  made.y = make_axis(y, ticks_in(height, points_per_y_tick));
  const double left = left_of_axis(made.y);
  made.area = {room.left + left, room.top, room.width - left, height};
  made.x = make_axis(x, ticks_in(made.area.width, points_per_x_tick));
  // Long numbers need more room than short ones.
  const double wanted = widest(made.x) + 24;
  if (wanted > points_per_x_tick) made.x = make_axis(x, ticks_in(made.area.width, wanted));
  made.is_downwards = is_downwards;
  return made;
}

void draw_axes(picture& on, const field& of, const axis_titles& titles) {
  const look thin{std::nullopt, pale, 0.5};
  for (const double tick : of.x.ticks) {
    const point at = of.at(tick, of.y.range.low);
    on.add_line({at.x, of.area.top}, {at.x, of.area.bottom()}, thin);
    on.add_label({{at.x, of.area.bottom() + 12}, of.x.text(tick), tick_size, anchor::middle});
  }
  for (const double tick : of.y.ticks) {
    const point at = of.at(of.x.range.low, tick);
    on.add_line({of.area.left, at.y}, {of.area.right(), at.y}, thin);
    on.add_label({{of.area.left - 5, at.y + 3}, of.y.text(tick), tick_size, anchor::end});
  }
  const point middle{of.area.left + of.area.width / 2, of.area.top + of.area.height / 2};
  on.add_label({{middle.x, of.area.bottom() + 28},
                fitted(titles.x, axis_title_size, of.area.width),
                axis_title_size,
                anchor::middle});
  on.add_label({{of.area.left - left_of_axis(of.y) + axis_title_size, middle.y},
                fitted(titles.y, axis_title_size, of.area.height),
                axis_title_size,
                anchor::middle,
                true});
  draw_frame(on, of);
}

}  // namespace

rgb tint(const rgb& colour, double part) {
  rgb mixed{};
  for (std::size_t i = 0; i < 3; ++i)
    mixed[i] = static_cast<std::int32_t>(std::lround(255 - part * (255 - std::clamp(colour[i], 0, 255))));
  return mixed;
}

point field::at(double of_x, double of_y) const {
  const double across = (of_x - x.range.low) / x.range.size();
  const double up = (of_y - y.range.low) / y.range.size();
  return {area.left + across * area.width, area.top + (is_downwards ? up : 1 - up) * area.height};
}

page make_page(const size& whole, const heading& words, double side_width) {
  constexpr double heading_size = 14, below_size = 9.5, field_top = 58, gap = 20;
  page made;
  made.drawn.width = whole.width;
  made.drawn.height = whole.height;
  const double width = whole.width - 2 * margin;
  made.drawn.add_label({{margin, 26},
                        fitted(words.title, heading_size * 1.08, width),
                        heading_size,
                        anchor::start,
                        false,
                        true});
  made.drawn.add_label({{margin, 42},
                        fitted(words.below, below_size, width),
                        below_size,
                        anchor::start,
                        false,
                        false,
                        {90, 90, 90}});
  const double height = whole.height - field_top - margin / 2;
  made.side = {whole.width - margin - side_width, field_top, side_width, height};
  made.room = {margin, field_top, width - (side_width > 0 ? side_width + gap : 0), height};
  return made;
}

std::string with_unit(const std::string& name, const std::string& unit) {
  return unit.empty() ? name : name + " (" + unit + ")";
}

field draw_field(picture& on, const box& room, const extent& x, const extent& y, const axis_titles& titles,
                 bool is_downwards) {
  const field made = bare_field(room, x, y, is_downwards);
  draw_axes(on, made, titles);
  return made;
}

field draw_map_field(picture& on, const box& room, const extent& x, const extent& y,
                     const axis_titles& titles, double exaggeration) {
  const auto grown = [](const extent& of, double length) {
    const double more = std::max(0.0, length - of.size()) / 2;
    return extent{of.low - more, of.high + more};
  };
  field made = bare_field(room, x, y, false);
  // The labels of the ticks become longer or shorter with the range, and so the room for the map.
  for (int pass = 0; pass < 2; ++pass) {
    const double scale = std::min(made.area.width / x.size(), made.area.height / (y.size() * exaggeration));
    made = bare_field(room, grown(x, made.area.width / scale),
                      grown(y, made.area.height / (scale * exaggeration)), false);
  }
  const double scale = made.area.height / (made.y.range.size() * exaggeration);
  made.area.width = std::min(made.area.width, made.x.range.size() * scale);
  draw_axes(on, made, titles);
  return made;
}

void draw_frame(picture& on, const field& of) {
  on.add_box(of.area, {std::nullopt, dark, 0.75});
}

void draw_scale_bar(picture& on, const box& side, const field& of, const std::string& unit) {
  const double per_point = of.x.range.size() / of.area.width;
  const double length = round_step(per_point * side.width * 0.75);
  const double width = length / per_point, bottom = side.bottom() - below_axis;
  constexpr double thickness = 5;
  for (int i = 0; i < 4; ++i)
    on.add_box({side.left + i * width / 4, bottom - thickness, width / 4, thickness},
               {i % 2 == 0 ? dark : rgb{255, 255, 255}, dark, 0.5});
  on.add_label({{side.left, bottom + 11}, "0", tick_size, anchor::start});
  on.add_label({{side.left + width, bottom + 11},
                short_text(length) + (unit.empty() ? "" : " " + unit),
                tick_size,
                width < 40 ? anchor::start : anchor::middle});
}

void draw_north_arrow(picture& on, const box& side) {
  const double bottom = side.bottom() - below_axis - 22, top = bottom - 34, middle = side.left + 12;
  on.shapes.emplace_back(
      path{{{{middle, top}, {middle + 7, bottom}, {middle, bottom - 8}}}, true, {dark, dark, 0.75}});
  on.shapes.emplace_back(path{
      {{{middle, top}, {middle - 7, bottom}, {middle, bottom - 8}}}, true, {rgb{255, 255, 255}, dark, 0.75}});
  on.add_label({{middle, top - 4}, "N", axis_title_size, anchor::middle, false, true});
}

}  // namespace qrd::plot
