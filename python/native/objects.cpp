// Polygons, wireframes and faults: tuples of names, numbers and arrays of rows.
#include <cmath>
#include <limits>

#include "python/native/bindings.h"
#include "python/native/values.h"
#include "qrd/names.h"

namespace qrd::python {

namespace {

using client::database;
using client::file_place;

static_assert(sizeof(client::point2) == 2 * sizeof(double) && sizeof(client::point3) == 3 * sizeof(double));
static_assert(sizeof(client::triangle) == 3 * sizeof(std::int32_t));

// Rows of an array as points or triangles. The widths were looked at before.
template <typename Item, typename Number>
std::vector<Item> items_of(const py::handle& rows) {
  const auto array = rows.cast<py::array_t<Number, py::array::c_style>>();
  const auto* items = reinterpret_cast<const Item*>(array.data());
  return {items, items + static_cast<std::size_t>(array.size()) * sizeof(Number) / sizeof(Item)};
}

template <typename Number, typename Item>
py::array rows_of(const std::vector<Item>& items) {
  return to_rows(reinterpret_cast<const Number*>(items.data()), items.size(), sizeof(Item) / sizeof(Number));
}

py::list polygons(session& self, const file_place& place) {
  const auto all_polygons = self.use([&](database& all) { return all.at(place).polygons(); });
  py::list told;
  for (const client::contour& one : all_polygons.contours)
    told.append(py::make_tuple(to_python(one.polygon), to_python(one.name), rows_of<double>(one.vertices),
                               one.z_min, one.z_max));
  return told;
}

void new_polygons(session& self, const file_place& place, const py::list& told, const text& unit) {
  std::vector<client::contour> contours;
  for (const py::handle one : told) {
    const auto parts = one.cast<py::tuple>();
    client::contour contour;
    contour.polygon = bytes_of(parts[0]);
    contour.name = bytes_of(parts[1]);
    contour.vertices = items_of<client::point2, double>(parts[2]);
    contours.push_back(std::move(contour));
  }
  self.use([&](database& all) {
    client::check_new_name(place.file, "file");
    client::connection& server = all.at(place.study, place.directory);
    server.set_creation_units(unit.bytes, unit.bytes, unit.bytes);
    server.new_polygons(place.file, contours);
  });
}

py::list wireframes(session& self, const file_place& place) {
  const auto all_objects = self.use([&](database& all) { return all.at(place).wireframes(); });
  py::list told;
  for (const client::wireframe& one : all_objects) {
    py::list pieces;
    for (const client::wireframe_piece& piece : one.pieces)
      pieces.append(py::make_tuple(rows_of<double>(piece.vertices), rows_of<std::int32_t>(piece.triangles)));
    told.append(py::make_tuple(to_python(one.name), py::make_tuple(one.red, one.green, one.blue), pieces));
  }
  return told;
}

void new_wireframes(session& self, const file_place& place, const py::list& told, const text& unit) {
  std::vector<client::wireframe> objects;
  for (const py::handle one : told) {
    const auto parts = one.cast<py::tuple>();
    client::wireframe object;
    object.name = bytes_of(parts[0]);
    const auto colour = parts[1].cast<py::tuple>();
    object.red = colour[0].cast<std::int32_t>();
    object.green = colour[1].cast<std::int32_t>();
    object.blue = colour[2].cast<std::int32_t>();
    for (const py::handle piece : parts[2]) {
      const auto arrays = piece.cast<py::tuple>();
      object.pieces.push_back(
          {items_of<client::point3, double>(arrays[0]), items_of<client::triangle, std::int32_t>(arrays[1])});
    }
    objects.push_back(std::move(object));
  }
  self.use([&](database& all) {
    client::check_new_name(place.file, "file");
    client::connection& server = all.at(place.study, place.directory);
    // Behind a name that is taken the server leaves the rest of the request unread.
    if (server.file_exists(place.file))
      throw client::refusal("File " + place.study + ": " + place.directory + "/" + place.file +
                            " already exists");
    server.set_creation_units(unit.bytes, unit.bytes, unit.bytes);
    server.new_wireframes(place.file, objects);
  });
}

constexpr std::size_t numbers_of_points = 9;
constexpr std::size_t numbers_of_attributes = 3;

py::tuple faults(session& self, const file_place& place, std::int32_t highest_priority) {
  const auto all_faults = self.use([&](database& all) { return all.at(place).faults(highest_priority); });
  py::list told;
  for (const client::fault& one : all_faults.faults) {
    std::vector<double> points;
    std::vector<double> attributes;
    std::vector<std::int32_t> priorities;
    for (const client::fault_segment& segment : one.segments) {
      for (const client::point3& point : segment.points)
        points.insert(points.end(), {point.x, point.y, point.z});
      for (const double value : segment.attributes)
        attributes.push_back(value == all_faults.missing ? std::numeric_limits<double>::quiet_NaN() : value);
      priorities.push_back(segment.priority);
    }
    const std::size_t segments = one.segments.size();
    told.append(py::make_tuple(to_python(one.name), one.is_polyline,
                               to_rows(points.data(), segments, numbers_of_points),
                               to_rows(attributes.data(), segments, numbers_of_attributes),
                               to_rows(priorities.data(), segments, 1)));
  }
  return py::make_tuple(told, all_faults.is_2d, all_faults.has_attributes);
}

void write_faults(session& self, const file_place& place, const py::list& told, bool is_2d,
                  bool has_attributes) {
  client::fault_set set;
  set.is_2d = is_2d;
  set.has_attributes = has_attributes;
  for (const py::handle one : told) {
    const auto parts = one.cast<py::tuple>();
    client::fault fault;
    fault.name = bytes_of(parts[0]);
    fault.is_polyline = parts[1].cast<bool>();
    const auto points = items_of<client::point3, double>(parts[2]);
    const auto attributes = parts[3].cast<doubles>();
    const auto priorities = parts[4].cast<integers>();
    for (std::size_t i = 0; i < points.size() / 3; ++i) {
      client::fault_segment segment;
      for (std::size_t k = 0; k < 3; ++k) {
        segment.points[k] = points[3 * i + k];
        const double value = span_of(attributes)[3 * i + k];
        segment.attributes[k] = std::isnan(value) ? set.missing : value;
      }
      segment.priority = priorities.data()[i];
      fault.segments.push_back(segment);
    }
    set.faults.push_back(std::move(fault));
  }
  self.use([&](database& all) { all.at(place).write_faults(set); });
}

}  // namespace

void add_objects(session_class& one) {
  one.def("polygons", &polygons);
  one.def("new_polygons", &new_polygons);
  one.def("wireframes", &wireframes);
  one.def("new_wireframes", &new_wireframes);
  one.def("faults", &faults);
  one.def("write_faults", &write_faults);
}

}  // namespace qrd::python
