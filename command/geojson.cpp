#include "command/geojson.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "qrd/error.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

using client::contour;
using client::point2;

[[noreturn]] void fail(const std::string& text) {
  throw client::error("GeoJSON: " + text);
}

const json::elements& elements_of(const json& value, const char* what) {
  const auto* all = value.as<json::elements>();
  if (all == nullptr) fail(std::string(what) + " have to be a list");
  return *all;
}

std::string text_of(const json& value) {
  const auto* text = value.as<std::string>();
  return text != nullptr ? *text : std::string();
}

// Calls act(geometry, properties) for each feature of a document, or for the one geometry that it is.
template <typename Act>
void each_feature(const json& document, const Act& act) {
  const std::string type = text_of(document["type"]);
  if (type == "FeatureCollection") {
    for (const json& one : elements_of(document["features"], "\"features\""))
      act(one["geometry"], one["properties"]);
  } else if (type == "Feature") {
    act(document["geometry"], document["properties"]);
  } else if (!type.empty()) {
    act(document, json());
  } else {
    fail("there is no \"type\"");
  }
}

std::vector<double> position_of(const json& value) {
  std::vector<double> place;
  for (const json& each : elements_of(value, "coordinates")) {
    const auto number = each.number();
    if (!number || !std::isfinite(*number)) fail("a coordinate is not a number");
    place.push_back(*number);
  }
  if (place.size() < 2) fail("a place needs two coordinates");
  return place;
}

std::string checked_name(const std::string& name) {
  constexpr std::size_t longest = 15;
  if (name.size() > longest) throw client::error("the name \"" + name + "\" has more than 15 characters");
  return name;
}

class contour_collector {
 public:
  void add(const json& geometry, const json& properties) {
    const std::string type = text_of(geometry["type"]);
    if (geometry.is_null()) return;
    if (type == "GeometryCollection") {
      for (const json& one : elements_of(geometry["geometries"], "\"geometries\"")) add(one, properties);
      return;
    }
    if (type != "Polygon" && type != "MultiPolygon") fail("there is a \"" + type + "\" among the polygons");
    std::string name = text_of(properties["name"]);
    if (const auto number = properties["name"].number()) name = client::number_text(*number);
    if (name.empty()) name = "Polygon " + std::to_string(++unnamed_);
    checked_name(name);
    std::size_t ring = 0;
    const auto add_rings = [&](const json& rings) {
      for (const json& one : elements_of(rings, "rings")) add_ring(one, name, properties["contours"], ring++);
    };
    if (type == "Polygon") {
      add_rings(geometry["coordinates"]);
    } else {
      for (const json& one : elements_of(geometry["coordinates"], "polygons")) add_rings(one);
    }
  }
  std::vector<contour> contours;

 private:
  void add_ring(const json& ring, const std::string& polygon, const json& names, std::size_t number) {
    contour made;
    made.polygon = polygon;
    const auto* known = names.as<json::elements>();
    if (known != nullptr && number < known->size()) made.name = checked_name(text_of((*known)[number]));
    if (made.name.empty()) made.name = "C" + std::to_string(contours.size() + 1);
    for (const json& one : elements_of(ring, "rings")) {
      const std::vector<double> place = position_of(one);
      made.vertices.push_back({place[0], place[1]});
    }
    // The first place comes again at the end.
    if (made.vertices.size() > 1 && made.vertices.front() == made.vertices.back()) made.vertices.pop_back();
    if (made.vertices.size() < 3) fail("a ring has fewer than three corners");
    contours.push_back(std::move(made));
  }
  std::size_t unnamed_ = 0;
};

bool contains(const contour& ring, const point2& place) {
  bool inside = false;
  const auto& corners = ring.vertices;
  for (std::size_t i = 0, before = corners.size() - 1; i < corners.size(); before = i++) {
    const point2 &a = corners[i], &b = corners[before];
    if ((a.y > place.y) != (b.y > place.y) && place.x < (b.x - a.x) * (place.y - a.y) / (b.y - a.y) + a.x)
      inside = !inside;
  }
  return inside;
}

json ring_json(const contour& ring) {
  json::elements places;
  for (const point2& corner : ring.vertices) places.push_back(json::array({corner.x, corner.y}));
  if (!places.empty()) places.push_back(places.front());
  return places;
}

std::string quoted_cell(const std::string& text) {
  std::string cell = "\"";
  for (const char each : text) {
    if (each == '"') cell += '"';
    cell += each;
  }
  return cell + "\"";
}

}  // namespace

bool is_geojson_name(std::string_view path) {
  return path.ends_with(".geojson") || path.ends_with(".json");
}

std::string points_as_csv(const json& document) {
  std::vector<std::vector<double>> places;
  std::vector<std::map<std::string, std::string>> values;
  std::vector<std::string> names;
  each_feature(document, [&](const json& geometry, const json& properties) {
    const std::string type = text_of(geometry["type"]);
    if (type != "Point") fail("there is a \"" + type + "\" among the points");
    places.push_back(position_of(geometry["coordinates"]));
    auto& row = values.emplace_back();
    const auto* all = properties.as<json::members>();
    if (all == nullptr) return;
    for (const auto& [name, value] : *all) {
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
      if (const auto* text = value.as<std::string>())
        row[name] = quoted_cell(*text);
      else if (const auto number = value.number())
        row[name] = client::number_text(*number);
      else if (const auto* is = value.as<bool>())
        row[name] = *is ? "1" : "0";
      else if (!value.is_null())
        row[name] = quoted_cell(json_text(value, -1));
    }
  });
  const bool has_z =
      std::all_of(places.begin(), places.end(), [](const auto& one) { return one.size() > 2; });
  std::string text =
      has_z ? "X+ Gravity Center,Y+ Gravity Center,Z+ Gravity Center" : "X+ Gravity Center,Y+ Gravity Center";
  for (const std::string& name : names) text += "," + quoted_cell(name);
  text += "\n";
  for (std::size_t i = 0; i < places.size(); ++i) {
    for (std::size_t axis = 0; axis < (has_z ? 3U : 2U); ++axis)
      text += (axis == 0 ? "" : ",") + client::number_text(places[i][axis]);
    for (const std::string& name : names) text += "," + values[i][name];
    text += "\n";
  }
  return text;
}

std::vector<contour> contours_of(const json& document) {
  contour_collector found;
  each_feature(document,
               [&](const json& geometry, const json& properties) { found.add(geometry, properties); });
  if (found.contours.empty()) fail("there are no polygons");
  return std::move(found.contours);
}

std::string polygons_as_geojson(const client::polygon_set& polygons) {
  std::vector<std::vector<const contour*>> groups;
  std::map<std::string, std::size_t> known;
  for (const contour& one : polygons.contours) {
    if (one.vertices.empty()) continue;
    const auto [place, is_new] = known.emplace(one.polygon, groups.size());
    if (is_new) groups.emplace_back();
    groups[place->second].push_back(&one);
  }
  std::string text = R"({"type":"FeatureCollection","features":[)";
  for (const auto& rings : groups) {
    // How many rings there are around each, and the innermost one of those that stand for themselves.
    std::vector<std::size_t> around(rings.size());
    for (std::size_t i = 0; i < rings.size(); ++i)
      for (std::size_t k = 0; k < rings.size(); ++k)
        if (i != k && contains(*rings[k], rings[i]->vertices[0])) ++around[i];
    json::elements parts;
    json::elements names;
    for (std::size_t i = 0; i < rings.size(); ++i) {
      if (around[i] % 2 != 0) continue;
      json::elements part = {ring_json(*rings[i])};
      names.push_back(rings[i]->name);
      for (std::size_t k = 0; k < rings.size(); ++k) {
        if (around[k] != around[i] + 1 || !contains(*rings[i], rings[k]->vertices[0])) continue;
        part.push_back(ring_json(*rings[k]));
        names.push_back(rings[k]->name);
      }
      parts.push_back(part);
    }
    const bool is_one = parts.size() == 1;
    const json feature = {
        {"type", "Feature"},
        {"geometry",
         {{"type", is_one ? "Polygon" : "MultiPolygon"}, {"coordinates", is_one ? parts[0] : json(parts)}}},
        {"properties", {{"name", rings[0]->polygon}, {"contours", names}}}};
    text.append(text.back() == '[' ? "\n" : ",\n").append(json_text(feature, -1));
  }
  return text + "\n]}\n";
}

}  // namespace qrd::command
