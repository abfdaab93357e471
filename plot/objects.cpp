#include "plot/objects.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "plot/marks.h"
#include "qrd/error.h"

namespace qrd::plot {

namespace {

constexpr rgb fault_colour = {178, 34, 34};

// The contours of one polygon stand together.
void add_polygons(std::vector<polygon>& all, client::polygon_set set) {
  const std::size_t first = all.size();
  for (client::contour& one : set.contours) {
    const auto same = std::find_if(all.begin() + static_cast<std::ptrdiff_t>(first), all.end(),
                                   [&](const polygon& other) { return other.name == one.polygon; });
    polygon& of =
        same != all.end() ? *same : all.emplace_back(polygon{one.polygon, {}, set.dimension == 3, {}});
    of.rings.push_back(std::move(one));
  }
}

void add_wireframes(std::vector<surface>& all, const std::vector<client::wireframe>& set) {
  for (const client::wireframe& one : set) {
    surface& of = all.emplace_back(surface{one.name, {}, {rgb{one.red, one.green, one.blue}}});
    for (const client::wireframe_piece& piece : one.pieces)
      for (const client::triangle& corners : piece.triangles) {
        triangle made;
        bool is_whole = true;
        for (std::size_t i = 0; i < 3; ++i) {
          const auto vertex = static_cast<std::size_t>(corners.vertices[i]);
          is_whole = is_whole && vertex < piece.vertices.size();
          if (is_whole) made[i] = piece.vertices[vertex];
        }
        if (is_whole) of.triangles.push_back(made);
      }
  }
}

std::string fault_words(const client::fault& of) {
  return "fault " + of.name;
}

void add_faults(objects& all, const client::fault_set& set) {
  for (const client::fault& one : set.faults) {
    if (set.is_2d) {
      all.fault_lines.push_back(one);
      continue;
    }
    surface& of = all.fault_surfaces.emplace_back(surface{fault_words(one), {}, {fault_colour}});
    for (const client::fault_segment& segment : one.segments)
      of.triangles.push_back({segment.points[0], segment.points[1], segment.points[2]});
  }
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

// The lowest and the highest level of its rings.
extent levels_of(const polygon& of) {
  extent levels;
  if (!of.has_levels) return levels;
  for (const client::contour& ring : of.rings) {
    levels.add(ring.z_min);
    levels.add(ring.z_max);
  }
  return levels;
}

std::string name_with_levels(const polygon& of, const std::string& unit) {
  const extent levels = levels_of(of);
  if (levels.is_empty()) return of.name;
  constexpr int digits = 7;
  std::string text = short_text(levels.low, digits);
  if (levels.size() > 0) text += " – " + short_text(levels.high, digits);
  return with_unit(of.name, unit.empty() ? text : text + " " + unit);
}

// What triangles cover, seen from above: rings that go round all of it the same way, along the edges where it
// ends or turns back; and the edges of what stands upright.
class shade {
 public:
  explicit shade(const std::vector<triangle>& of) {
    for (const triangle& one : of) add(one);
  }

  std::vector<std::vector<point>> rings(const field& in) {
    std::vector<std::vector<point>> all;
    // As many edges end at a place as begin there.
    std::map<place, std::vector<place>> ways;
    for (const auto& [edge, times] : edges_)
      for (int i = 0; i < std::abs(times); ++i)
        ways[times > 0 ? edge.first : edge.second].push_back(times > 0 ? edge.second : edge.first);
    for (auto& [start, ends] : ways)
      while (!ends.empty()) {
        std::vector<point>& ring = all.emplace_back();
        place here = start;
        do {
          ring.push_back(in.at(here[0], here[1]));
          std::vector<place>& next = ways[here];
          const place there = next.back();
          next.pop_back();
          here = there;
        } while (here != start);
      }
    return all;
  }

  std::vector<std::vector<point>> upright(const field& in) const {
    std::vector<std::vector<point>> all;
    for (const auto& [from, to] : upright_) all.push_back({in.at(from[0], from[1]), in.at(to[0], to[1])});
    return all;
  }

 private:
  using place = std::array<double, 2>;

  void add(const triangle& one) {
    if (!has_area(one)) return;
    std::array<place, 3> at;
    for (std::size_t i = 0; i < 3; ++i) {
      if (!is_value(one[i].x) || !is_value(one[i].y)) return;
      at[i] = {one[i].x, one[i].y};
    }
    const double turn =
        (at[1][0] - at[0][0]) * (at[2][1] - at[0][1]) - (at[2][0] - at[0][0]) * (at[1][1] - at[0][1]);
    if (turn < 0) std::swap(at[1], at[2]);
    for (std::size_t i = 0; i < 3; ++i) {
      const place &from = at[i], &to = at[(i + 1) % 3];
      if (from == to) continue;
      const bool goes_up = from < to;
      const std::pair<place, place> edge = goes_up ? std::pair(from, to) : std::pair(to, from);
      if (turn == 0)
        upright_.insert(edge);
      else
        edges_[edge] += goes_up ? 1 : -1;
    }
  }

  std::map<std::pair<place, place>, int> edges_;
  std::set<std::pair<place, place>> upright_;
};

// The colours of values stand elsewhere.
template <typename Object>
void add_entry(std::vector<legend_entry>& all, const Object& of) {
  if (!of.with.is_value) all.push_back({of.with.style(), of.name});
}

void add_entry(std::vector<legend_entry>& all, const client::fault& of) {
  all.push_back({{std::nullopt, fault_colour, 1.2}, fault_words(of)});
}

void draw_surfaces(picture& on, const field& in, const std::vector<surface>& all) {
  for (const surface& one : all) {
    if (!one.with.colour) continue;
    shade seen(one.triangles);
    path cover{seen.rings(in), true, one.with.style()};
    cover.overlaps = true;
    path walls{seen.upright(in), false, {std::nullopt, cover.style.line, cover.style.width}};
    if (!cover.parts.empty()) on.shapes.emplace_back(std::move(cover));
    if (!walls.parts.empty()) on.shapes.emplace_back(std::move(walls));
  }
}

}  // namespace

look paint::style() const {
  if (is_value) return {colour, dark, 0.75, false, 1};
  return {colour, colour, 1.2, false, 0.25};
}

void objects::choose(const chosen_samples& chosen, const sample_colours* colours) {
  if (!are_samples) return;
  const auto choose = [&](auto& all, std::size_t samples) {
    for (std::size_t i = samples; i-- > 0;)
      if (!is_chosen(chosen, i))
        all.erase(all.begin() + static_cast<std::ptrdiff_t>(i));
      else if (colours != nullptr)
        all[i].with = {colour_at(*colours, i), true};
  };
  if (!polygons.empty())
    choose(polygons, std::min(own, polygons.size()));
  else
    choose(wireframes, std::min(own, wireframes.size()));
}

std::vector<legend_entry> objects::entries() const {
  std::vector<legend_entry> all;
  for (const polygon& one : polygons) add_entry(all, one);
  for (const surface& one : wireframes) add_entry(all, one);
  for (const surface& one : fault_surfaces) add_entry(all, one);
  for (const client::fault& one : fault_lines) add_entry(all, one);
  return all;
}

void objects::add_to(extent& x, extent& y) const {
  const auto add = [&](const auto& at) {
    x.add(at.x);
    y.add(at.y);
  };
  for (const polygon& one : polygons)
    for (const client::contour& ring : one.rings)
      for (const client::point2& vertex : ring.vertices) add(vertex);
  for (const auto* all : {&wireframes, &fault_surfaces})
    for (const surface& one : *all)
      for (const triangle& corners : one.triangles)
        for (const client::point3& corner : corners) add(corner);
  for (const client::fault& one : fault_lines)
    for (const client::fault_segment& segment : one.segments)
      for (int i = 0; i < 2; ++i) add(segment.points[i]);
}

void objects::draw_polygons(picture& on, const field& in, const std::string& unit, bool lie_above) const {
  struct shown_ring {
    path outline;
    std::string name;  // with the first ring of a polygon
    double area = 0;
  };
  std::vector<shown_ring> shown;
  for (const polygon& one : polygons)
    for (const client::contour& ring : one.rings) {
      shown_ring made{
          {{}, true, one.with.style()}, &ring == &one.rings.front() ? name_with_levels(one, unit) : "", 0};
      // Where there is nothing below, one doesn't mix its colour with that of another.
      look& style = made.outline.style;
      if (!lie_above && style.fill) style.fill = tint(*style.fill, std::exchange(style.opacity, 1));
      std::vector<point>& places = made.outline.parts.emplace_back();
      for (const client::point2& vertex : ring.vertices) places.push_back(in.at(vertex.x, vertex.y));
      made.area = area_of(places);
      shown.push_back(std::move(made));
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

void objects::draw_above(picture& on, const field& in) const {
  coloured_pieces lines;
  for (const client::fault& one : fault_lines)
    for (const client::fault_segment& segment : one.segments)
      lines.add(fault_colour, in.at(segment.points[0].x, segment.points[0].y),
                in.at(segment.points[1].x, segment.points[1].y));
  on.shapes.emplace_back(clip{in.area});
  draw_surfaces(on, in, wireframes);
  draw_surfaces(on, in, fault_surfaces);
  lines.draw(on, 1.2);
  on.shapes.emplace_back(clip{});
}

objects objects_of(source& from) {
  objects found;
  const client::file_info& info = from.file().info();
  if (info.has_polygons) add_polygons(found.polygons, from.server().polygons());
  if (from.file().may_have_wireframes()) {
    try {
      add_wireframes(found.wireframes, from.server().wireframes());
    } catch (const client::refusal&) {
      // It only looks as if it had some.
    }
  }
  found.own = found.polygons.size() + found.wireframes.size();
  found.are_samples = found.own > 0;
  if (info.has_faults) add_faults(found, from.server().faults());
  const request& wish = from.wish();
  // What the file itself has is there already.
  const auto each_other = [&](const std::vector<client::file_place>& places, bool has_own, const auto& add) {
    for (const client::file_place& place : places) {
      if (has_own && place == wish.place) continue;
      try {
        add(from.server_of(place));
      } catch (const client::refusal& refused) {
        throw client::error(place.study + "/" + place.directory + "/" + place.file + ": " + refused.what());
      }
    }
  };
  each_other(wish.polygons, info.has_polygons,
             [&](client::connection& server) { add_polygons(found.polygons, server.polygons()); });
  each_other(wish.wireframes, !found.wireframes.empty(),
             [&](client::connection& server) { add_wireframes(found.wireframes, server.wireframes()); });
  each_other(wish.faults, info.has_faults,
             [&](client::connection& server) { add_faults(found, server.faults()); });
  const std::vector<rgb> ramp = even_ramp(found.polygons.size() + 1);
  for (std::size_t i = 0; i < found.polygons.size(); ++i) found.polygons[i].with.colour = ramp[i];
  return found;
}

cut_objects::cut_objects(const objects& of, const plane& by) {
  for (const polygon& one : of.polygons) {
    const std::size_t before = areas_.size();
    for (const client::contour& ring : one.rings) {
      extent levels;
      if (one.has_levels) {
        levels.add(ring.z_min);
        levels.add(ring.z_max);
      }
      for (const extent& along : cut(by, ring.vertices)) {
        areas_.push_back({along, levels, one.with.style()});
        heights_.add(levels.low);
        heights_.add(levels.high);
      }
    }
    if (areas_.size() > before) add_entry(entries_, one);
  }
  for (const auto* all : {&of.wireframes, &of.fault_surfaces})
    for (const surface& one : *all) {
      std::vector<cut_line> lines = cut(by, one.triangles);
      if (lines.empty()) continue;
      for (const cut_line& each : lines) {
        heights_.add(each.from.y);
        heights_.add(each.to.y);
      }
      add_entry(entries_, one);
      lines_.emplace_back(one.with.colour.value_or(grey), std::move(lines));
    }
  for (const client::fault& one : of.fault_lines) {
    const std::size_t before = walls_.size();
    for (const client::fault_segment& segment : one.segments) {
      const auto& [from, to, unused] = segment.points;
      const auto at = crossing(by, {from.x, from.y}, {to.x, to.y});
      if (at && *at >= 0 && *at <= by.length()) walls_.push_back(*at);
    }
    if (walls_.size() > before) add_entry(entries_, one);
  }
}

void cut_objects::draw(picture& on, const field& in) const {
  const extent& field_heights = in.y.range;
  on.shapes.emplace_back(clip{in.area});
  for (const area& one : areas_) {
    // What goes through all heights shows no end, and doesn't fill the picture.
    const bool has_end = !one.heights.is_empty();
    const extent heights = has_end ? one.heights : widened(field_heights, 0.1);
    look style = one.style;
    if (!has_end) style.fill.reset();
    on.shapes.emplace_back(path{{{in.at(one.along.low, heights.low), in.at(one.along.high, heights.low),
                                  in.at(one.along.high, heights.high), in.at(one.along.low, heights.high)}},
                                true,
                                style});
  }
  for (const auto& [colour, lines] : lines_) {
    path drawn{{}, false, {std::nullopt, colour, 1.2}};
    for (const cut_line& one : lines)
      drawn.parts.push_back({in.at(one.from.x, one.from.y), in.at(one.to.x, one.to.y)});
    on.shapes.emplace_back(std::move(drawn));
  }
  for (const double at : walls_)
    on.add_line(in.at(at, field_heights.low), in.at(at, field_heights.high),
                {std::nullopt, fault_colour, 1.2});
  on.shapes.emplace_back(clip{});
}

}  // namespace qrd::plot
