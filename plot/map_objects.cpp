#include "plot/map_objects.h"

#include <algorithm>
#include <cmath>

#include "plot/marks.h"

namespace qrd::plot {

namespace {

// The contours of one polygon stand together.
std::vector<std::vector<const client::contour*>> by_polygon(const std::vector<client::contour>& contours) {
  std::vector<std::vector<const client::contour*>> polygons;
  for (const client::contour& one : contours) {
    const auto same = std::find_if(polygons.begin(), polygons.end(),
                                   [&](const auto& other) { return other.front()->polygon == one.polygon; });
    if (same != polygons.end())
      same->push_back(&one);
    else
      polygons.push_back({&one});
  }
  return polygons;
}

// Twice its area, on the paper.
double area_of(const std::vector<point>& ring) {
  double area = 0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const point &here = ring[i], &next = ring[(i + 1) % ring.size()];
    area += here.x * next.y - next.x * here.y;
  }
  return std::abs(area);
}

// A place for a name inside of it: the middle of the longest of some level ways through it.
point inside_of(const std::vector<point>& ring) {
  extent y;
  for (const point& at : ring) y.add(at.y);
  constexpr int ways = 15;
  point best;
  double longest = -1;
  for (int i = 0; i < ways; ++i) {
    // The middle first: it stays if no other is longer.
    const double part = 0.5 + (i % 2 == 0 ? i : -i - 1) / 2 / (ways + 1.0);
    const double level = y.low + part * y.size();
    std::vector<double> crossed;
    for (std::size_t k = 0; k < ring.size(); ++k) {
      const point &here = ring[k], &next = ring[(k + 1) % ring.size()];
      if ((here.y <= level) != (next.y <= level))
        crossed.push_back(here.x + (level - here.y) / (next.y - here.y) * (next.x - here.x));
    }
    std::sort(crossed.begin(), crossed.end());
    for (std::size_t k = 0; k + 1 < crossed.size(); k += 2)
      if (crossed[k + 1] - crossed[k] > longest * 1.05) {
        longest = crossed[k + 1] - crossed[k];
        best = {(crossed[k] + crossed[k + 1]) / 2, level};
      }
  }
  return best;
}

}  // namespace

void map_objects::add_to(extent& x, extent& y) const {
  for (const client::contour& one : contours)
    for (const client::point2& vertex : one.vertices) {
      x.add(vertex.x);
      y.add(vertex.y);
    }
  for (const client::fault& one : faults)
    for (const client::fault_segment& segment : one.segments)
      for (int i = 0; i < 2; ++i) {
        x.add(segment.points[i].x);
        y.add(segment.points[i].y);
      }
}

void map_objects::draw_polygons(picture& on, const field& in, const sample_colours* colours) const {
  const auto polygons = by_polygon(contours);
  const std::vector<rgb> ramp = even_ramp(polygons.size() + 1);
  struct shown_ring {
    path outline;
    std::string name;  // with the first ring of a polygon
    double area = 0;
  };
  std::vector<shown_ring> shown;
  for (std::size_t i = 0; i < polygons.size(); ++i)
    for (const client::contour* ring : polygons[i]) {
      shown_ring one{{{}, true, {tint(ramp[i], 0.25), ramp[i], 1.2}},
                     ring == polygons[i].front() ? ring->polygon : ""};
      if (colours != nullptr) one.outline.style = {colour_at(*colours, i), dark, 0.75};
      std::vector<point>& places = one.outline.parts.emplace_back();
      for (const client::point2& vertex : ring->vertices) places.push_back(in.at(vertex.x, vertex.y));
      one.area = area_of(places);
      shown.push_back(std::move(one));
    }
  // A large one doesn't hide what lies in it.
  std::stable_sort(shown.begin(), shown.end(),
                   [](const shown_ring& one, const shown_ring& other) { return one.area > other.area; });
  on.shapes.emplace_back(clip{in.area});
  for (const shown_ring& one : shown) on.shapes.emplace_back(one.outline);
  on.shapes.emplace_back(clip{});
  name_labels names(in.area);
  for (const shown_ring& one : shown)
    if (one.area > 0) names.add_on(on, inside_of(one.outline.parts.front()), one.name);
}

void map_objects::draw_faults(picture& on, const field& in) const {
  constexpr rgb red = {178, 34, 34};
  coloured_pieces pieces;
  for (const client::fault& one : faults)
    for (const client::fault_segment& segment : one.segments)
      pieces.add(red, in.at(segment.points[0].x, segment.points[0].y),
                 in.at(segment.points[1].x, segment.points[1].y));
  on.shapes.emplace_back(clip{in.area});
  pieces.draw(on, 1.2);
  on.shapes.emplace_back(clip{});
}

map_objects objects_of(source& from) {
  map_objects found;
  const client::file_info& info = from.file().info();
  if (info.has_polygons) found.contours = from.server().polygons().contours;
  if (info.has_faults && info.faults_2d) found.faults = from.server().faults().faults;
  return found;
}

void finish_map(page& on, const field& of, const std::string& unit, const legend& at_side) {
  draw_frame(on.drawn, of);
  draw_scale_bar(on.drawn, on.side, of, unit);
  draw_north_arrow(on.drawn, on.side);
  draw_legend(on.drawn, on.side, at_side, map_signs_height);
}

}  // namespace qrd::plot
