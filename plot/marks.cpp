#include "plot/marks.h"

#include <algorithm>
#include <cmath>

namespace qrd::plot {

namespace {

double radius_of(std::size_t marks) {
  constexpr std::size_t few = 300, many = 3000;
  return marks <= few ? 4 : marks <= many ? 2.5 : 1.5;
}

bool touches(const box& one, const box& other) {
  return one.left < other.right() && other.left < one.right() && one.top < other.bottom() &&
         other.top < one.bottom();
}

// Without those that one of the same sort on the same point hides.
void thin(std::vector<mark>& marks, const box& area) {
  const auto columns = static_cast<std::size_t>(area.width) + 1,
             rows = static_cast<std::size_t>(area.height) + 1;
  std::vector<bool> taken(2 * columns * rows);
  const auto is_hidden = [&](const mark& one) {
    const double across = one.at.x - area.left, down = one.at.y - area.top;
    if (!(across >= 0 && across <= area.width && down >= 0 && down <= area.height)) return true;
    const std::size_t place =
        2 * (static_cast<std::size_t>(down) * columns + static_cast<std::size_t>(across));
    auto here = taken[place + (one.colour ? 1 : 0)];
    const bool hidden = here;
    here = true;
    return hidden;
  };
  std::reverse(marks.begin(), marks.end());
  std::erase_if(marks, is_hidden);
  std::reverse(marks.begin(), marks.end());
}

}  // namespace

void draw_marks(picture& on, const box& area, std::vector<mark> marks) {
  constexpr std::size_t many = 20000;
  const double radius = radius_of(marks.size());
  if (marks.size() > many) thin(marks, area);
  on.shapes.emplace_back(clip{area});
  for (const mark& one : marks)
    if (!one.colour) on.shapes.emplace_back(circle{one.at, radius * 0.6, {std::nullopt, grey, 0.5}});
  const std::optional<rgb> edge = radius > 2 ? std::optional(dark) : std::nullopt;
  for (const mark& one : marks)
    if (one.colour) on.shapes.emplace_back(circle{one.at, radius, {one.colour, edge, 0.4}});
  on.shapes.emplace_back(clip{});
}

void coloured_pieces::add(const rgb& colour, point from, point to) {
  std::vector<std::vector<point>>& parts = parts_[colour];
  const bool goes_on = !parts.empty() && parts.back().back().x == from.x && parts.back().back().y == from.y;
  if (goes_on)
    parts.back().push_back(to);
  else
    parts.push_back({from, to});
}

void coloured_pieces::draw(picture& on, double width) const {
  for (const auto& [colour, parts] : parts_)
    on.shapes.emplace_back(path{parts, false, {std::nullopt, colour, width}});
}

void coloured_cells::draw(picture& on, bool are_upright) const {
  for (const auto& [colour, parts] : parts_) {
    look style{colour, std::nullopt, 0.4, are_upright};
    if (!are_upright) style.line = colour;
    on.shapes.emplace_back(path{parts, true, style});
  }
}

void name_labels::add_beside(picture& on, point at, const std::string& name) {
  constexpr double size = 7, away = 4;
  if (name.empty()) return;
  const double width = width_of(name, size);
  // To the right, else to the left.
  for (const double left : {at.x + away, at.x - away - width}) {
    if (!take({left, at.y - away - size, width, size + 1})) continue;
    const bool is_right = left > at.x;
    on.add_label(
        {{is_right ? left : at.x - away, at.y - away}, name, size, is_right ? anchor::start : anchor::end});
    return;
  }
}

void name_labels::add_on(picture& on, point at, const std::string& name) {
  constexpr double size = 9;
  const double width = width_of(name, size);
  if (!name.empty() && take({at.x - width / 2, at.y - size / 2, width, size}))
    on.add_label({{at.x, at.y + size / 3}, name, size, anchor::middle, false, true});
}

bool name_labels::take(const box& room) {
  const bool is_inside = room.left >= area_.left && room.right() <= area_.right() && room.top >= area_.top &&
                         room.bottom() <= area_.bottom();
  if (!is_inside ||
      std::any_of(taken_.begin(), taken_.end(), [&](const box& other) { return touches(room, other); }))
    return false;
  taken_.push_back(room);
  return true;
}

}  // namespace qrd::plot
