#include "plot/legend.h"

#include <algorithm>
#include <cmath>

namespace qrd::plot {

namespace {

constexpr double text_size = 9;
constexpr double title_size = 10;
constexpr double row_height = 15;
constexpr double swatch_width = 18;
constexpr double least_width = 110, most_width = 190;

struct entry {
  rgb colour;
  std::string words;
};

// Highest first, but what has names of its own in its own order and each once.
std::vector<entry> entries_of(const colour_map& map) {
  std::vector<entry> entries;
  bool has_names = false;
  for (const colour_class& one : map.classes) {
    const std::string words = !one.label.empty()    ? one.label
                              : one.low == one.high ? short_text(one.low)
                                                    : short_text(one.low) + " – " + short_text(one.high);
    has_names = has_names || !one.label.empty();
    const auto same = [&](const entry& other) { return other.words == words && other.colour == one.colour; };
    if (one.label.empty() || std::none_of(entries.begin(), entries.end(), same))
      entries.push_back({one.colour, words});
  }
  if (!has_names) std::reverse(entries.begin(), entries.end());
  return entries;
}

double draw_bar(picture& on, const box& area, const colour_map& map) {
  const extent range{map.classes.front().low, map.classes.back().high};
  const double height = std::min(area.height - 10, 260.0), top = area.top + 4;
  const double step = height / static_cast<double>(map.classes.size());
  for (std::size_t i = 0; i < map.classes.size(); ++i)
    on.add_box({area.left, top + height - step * static_cast<double>(i + 1), swatch_width, step},
               {map.classes[i].colour, std::nullopt, 0, true});
  on.add_box({area.left, top, swatch_width, height}, {std::nullopt, dark, 0.5});
  const axis ticks = make_axis(range, std::max(2, static_cast<int>(height / 32)));
  for (const double tick : ticks.ticks) {
    const double y = top + height * (1 - (tick - range.low) / range.size());
    on.add_line({area.left + swatch_width, y}, {area.left + swatch_width + 4, y}, {std::nullopt, dark, 0.5});
    on.add_label({{area.left + swatch_width + 7, y + 3}, ticks.text(tick), text_size});
  }
  return top + height + 8;
}

double draw_list(picture& on, const box& area, const colour_map& map) {
  const std::vector<entry> entries = entries_of(map);
  // More classes than rows: thinner ones, and words for some of them.
  const double height =
      std::min(row_height, area.height / static_cast<double>(std::max<std::size_t>(1, entries.size())));
  const auto each = static_cast<std::size_t>(std::ceil((text_size + 2) / height));
  double top = area.top + 4;
  for (std::size_t i = 0; i < entries.size(); ++i, top += height) {
    const bool has_room = height >= row_height;
    on.add_box({area.left, top, swatch_width, has_room ? height - 3 : height},
               {entries[i].colour, has_room ? std::optional(dark) : std::nullopt, 0.5, !has_room});
    if (i % each == 0)
      on.add_label({{area.left + swatch_width + 7, top + std::min(height, 11.0) / 2 + 3.5},
                    fitted(entries[i].words, text_size, area.width - swatch_width - 7),
                    text_size});
  }
  return top + 4;
}

// As many as there is room for, and a word of the others.
void draw_objects(picture& on, const box& area, const std::vector<legend_entry>& objects) {
  const auto room = static_cast<std::size_t>(std::max(1.0, area.height / row_height));
  const std::size_t shown = objects.size() <= room ? objects.size() : room - 1;
  double top = area.top;
  for (std::size_t i = 0; i < shown; ++i, top += row_height) {
    const double middle = top + (row_height - 3) / 2;
    if (objects[i].style.fill)
      on.add_box({area.left, top, swatch_width, row_height - 3}, objects[i].style);
    else
      on.add_line({area.left, middle}, {area.left + swatch_width, middle}, objects[i].style);
    on.add_label({{area.left + swatch_width + 7, middle + 3},
                  fitted(objects[i].words, text_size, area.width - swatch_width - 7),
                  text_size});
  }
  if (shown < objects.size())
    on.add_label(
        {{area.left, top + text_size}, "and " + std::to_string(objects.size() - shown) + " more", text_size});
}

}  // namespace

double width_of(const legend& of) {
  double width = std::max(least_width, width_of(of.title, title_size));
  if (!of.colours.is_even)
    for (const entry& one : entries_of(of.colours))
      width = std::max(width, swatch_width + 7 + width_of(one.words, text_size));
  for (const legend_entry& one : of.objects)
    width = std::max(width, swatch_width + 7 + width_of(one.words, text_size));
  for (const std::string& note : of.notes) width = std::max(width, width_of(note, text_size));
  return std::min(width, most_width);
}

void draw_legend(picture& on, const box& side, const legend& of, double kept) {
  double top = side.top;
  if (!of.title.empty()) {
    on.add_label({{side.left, top + title_size},
                  fitted(of.title, title_size * 1.08, side.width),
                  title_size,
                  anchor::start,
                  false,
                  true});
    top += title_size + 6;
  }
  const double notes = static_cast<double>(of.notes.size()) * (text_size + 4);
  // Colours keep at least half of the column.
  const double objects =
      std::min(static_cast<double>(of.objects.size()) * row_height, (side.height - kept) / 2);
  const box area{side.left, top, side.width,
                 std::max(40.0, side.height - (top - side.top) - notes - objects - kept - 16)};
  if (!of.colours.classes.empty())
    top = of.colours.is_even ? draw_bar(on, area, of.colours) : draw_list(on, area, of.colours);
  for (const std::string& note : of.notes) {
    top += text_size + 4;
    on.add_label({{side.left, top},
                  fitted(note, text_size, side.width),
                  text_size,
                  anchor::start,
                  false,
                  false,
                  {90, 90, 90}});
  }
  top += top > side.top ? 10 : 0;
  draw_objects(on, {side.left, top, side.width, side.bottom() - kept - top}, of.objects);
}

void finish_map(page& on, const field& of, const std::string& unit, const legend& at_side) {
  draw_frame(on.drawn, of);
  draw_scale_bar(on.drawn, on.side, of, unit);
  draw_north_arrow(on.drawn, on.side);
  draw_legend(on.drawn, on.side, at_side, map_signs_height);
}

}  // namespace qrd::plot
