#include "plot/cut.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

#include "plot/samples.h"
#include "qrd/error.h"

namespace qrd::plot {

namespace {

client::point2 on_map(const client::point3& at) {
  return {at.x, at.y};
}

using in_plane = std::array<double, 2>;  // along it and upwards

// Where the plane crosses the edge between two places on its two sides: the same bits for both triangles of
// the edge.
point crossed(const plane& by, const client::point3* from, const client::point3* to) {
  const auto order = [](const client::point3* at) { return std::array{at->x, at->y, at->z}; };
  if (order(to) < order(from)) std::swap(from, to);
  const double here = by.side(on_map(*from)), there = by.side(on_map(*to));
  const double part = here / (here - there);
  const double along = by.along(*from);
  return {along + part * (by.along(*to) - along), from->z + part * (to->z - from->z)};
}

// What of it lies between the ends of the plane.
std::optional<cut_line> between_ends(cut_line line, double length) {
  const bool is_turned = line.from.x > line.to.x;
  if (is_turned) std::swap(line.from, line.to);
  if (!(line.to.x >= 0 && line.from.x <= length)) return std::nullopt;
  const point from = line.from, to = line.to;
  const auto at = [&](double along) {
    return point{along, from.y + (along - from.x) / (to.x - from.x) * (to.y - from.y)};
  };
  if (from.x < 0) line.from = at(0);
  if (to.x > length) line.to = at(length);
  if (is_turned) std::swap(line.from, line.to);
  return line;
}

}  // namespace

plane::plane(const section_wish& wish) : wish_(wish) {
  const double x = wish.to.x - wish.from.x, y = wish.to.y - wish.from.y;
  length_ = std::hypot(x, y);
  if (!(length_ > 0) || !is_value(length_)) throw client::error("a section goes from one point to another");
  way_ = {x / length_, y / length_};
  width_ = wish.width.value_or(length_ / 10);
}

double plane::along(const client::point3& at) const {
  return (at.x - wish_.from.x) * way_.x + (at.y - wish_.from.y) * way_.y;
}

double plane::side(const client::point2& at) const {
  constexpr double rounding = 1e-12;
  const double to_x = wish_.to.x - wish_.from.x, to_y = wish_.to.y - wish_.from.y;
  const double distance = ((at.y - wish_.from.y) * to_x - (at.x - wish_.from.x) * to_y) / length_;
  const double size =
      std::max({std::abs(at.x), std::abs(at.y), std::abs(wish_.from.x), std::abs(wish_.from.y), length_});
  return std::abs(distance) <= rounding * size ? 0 : distance;
}

bool plane::is_near(const client::point3& at) const {
  const double beside = (at.y - wish_.from.y) * way_.x - (at.x - wish_.from.x) * way_.y;
  const double here = along(at);
  return std::abs(beside) <= width_ / 2 && here >= 0 && here <= length_;
}

client::point3 plane::at(double here, double z) const {
  return {wish_.from.x + here * way_.x, wish_.from.y + here * way_.y, z};
}

std::string plane::text(const std::string& unit) const {
  const double azimuth = std::fmod(std::atan2(way_.x, way_.y) * 180 / std::numbers::pi + 360, 360);
  const auto words = [](const point& at) { return short_text(at.x, 9) + ", " + short_text(at.y, 9); };
  return "from " + words(wish_.from) + " to " + words(wish_.to) + (unit.empty() ? "" : " " + unit) +
         ", azimuth " + short_text(std::round(azimuth)) + "°";
}

bool has_area(const triangle& of) {
  const auto way = [&](std::size_t to) {
    return client::point3{of[to].x - of[0].x, of[to].y - of[0].y, of[to].z - of[0].z};
  };
  const client::point3 a = way(1), b = way(2);
  return a.y * b.z != a.z * b.y || a.z * b.x != a.x * b.z || a.x * b.y != a.y * b.x;
}

std::vector<cut_line> cut(const plane& by, std::span<const triangle> surface) {
  std::vector<cut_line> lines;
  // The edges in the plane, and how many triangles in the plane each belongs to.
  std::map<std::pair<in_plane, in_plane>, int> edges;
  const auto add = [&](const point& from, const point& to) {
    if (const auto line = between_ends({from, to}, by.length())) lines.push_back(*line);
  };
  for (const triangle& one : surface) {
    if (!std::all_of(one.begin(), one.end(), is_place)) continue;
    std::array<double, 3> sides{};
    for (std::size_t i = 0; i < 3; ++i) sides[i] = by.side(on_map(one[i]));
    const bool lies_in = sides[0] == 0 && sides[1] == 0 && sides[2] == 0 && has_area(one);
    std::vector<point> ends;
    for (std::size_t i = 0; i < 3; ++i) {
      const std::size_t next = (i + 1) % 3;
      if (sides[i] == 0 && sides[next] == 0) {
        in_plane from = {by.along(one[i]), one[i].z}, to = {by.along(one[next]), one[next].z};
        if (to < from) std::swap(from, to);
        if (from != to) edges[{from, to}] += lies_in ? 1 : 0;
      } else if (sides[i] == 0 && sides[next] * sides[(i + 2) % 3] < 0) {
        ends.push_back({by.along(one[i]), one[i].z});
      } else if (sides[i] * sides[next] < 0) {
        ends.push_back(crossed(by, &one[i], &one[next]));
      }
    }
    if (ends.size() == 2) add(ends[0], ends[1]);
  }
  for (const auto& [edge, triangles] : edges)
    if (triangles != 2) add({edge.first[0], edge.first[1]}, {edge.second[0], edge.second[1]});
  return lines;
}

std::optional<double> crossing(const plane& by, const client::point2& from, const client::point2& to) {
  const double here = by.side(from), there = by.side(to);
  if ((here < 0) == (there < 0)) return std::nullopt;
  const double begin = by.along({from.x, from.y, 0}), end = by.along({to.x, to.y, 0});
  return begin + here / (here - there) * (end - begin);
}

std::vector<extent> cut(const plane& by, const std::vector<client::point2>& ring) {
  std::vector<double> crossed_at;
  std::vector<extent> parts;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const client::point2 &here = ring[i], &next = ring[(i + 1) % ring.size()];
    if (!is_value(here.x) || !is_value(here.y)) return {};
    if (const auto at = crossing(by, here, next)) crossed_at.push_back(*at);
    if (by.side(here) == 0 && by.side(next) == 0) {
      extent edge;
      edge.add(by.along({here.x, here.y, 0}));
      edge.add(by.along({next.x, next.y, 0}));
      parts.push_back(edge);
    }
  }
  std::sort(crossed_at.begin(), crossed_at.end());
  for (std::size_t i = 0; i + 1 < crossed_at.size(); i += 2)
    parts.push_back({crossed_at[i], crossed_at[i + 1]});
  std::sort(parts.begin(), parts.end(), [](const extent& a, const extent& b) { return a.low < b.low; });
  std::vector<extent> joined;
  for (extent part : parts) {
    part = {std::max(part.low, 0.0), std::min(part.high, by.length())};
    if (!(part.size() > 0)) continue;
    if (!joined.empty() && part.low <= joined.back().high)
      joined.back().high = std::max(joined.back().high, part.high);
    else
      joined.push_back(part);
  }
  return joined;
}

}  // namespace qrd::plot
