// Requests for polygons, wireframes and faults.
#include "qrd/objects.h"

#include "qrd/connection.h"

namespace qrd::client {

namespace {

constexpr std::size_t max_contour_name = 15;
constexpr std::size_t max_fault_name = 7;

void add_point(packet& part, const point3& point) {
  part.add_double(point.x).add_double(point.y).add_double(point.z);
}

// So many items, each read by `read_one`. Memory grows with what arrives.
template <typename Item, typename Read>
std::vector<Item> read_items(std::int64_t count, Read read_one) {
  std::vector<Item> items;
  for (std::int64_t i = 0; i < count; ++i) items.push_back(read_one());
  return items;
}

contour read_contour(stream& wire) {
  contour one;
  one.name = wire.read_string(max_contour_name);
  one.polygon = wire.read_string(max_contour_name);
  one.z_min = wire.read_double();
  one.z_max = wire.read_double();
  const std::vector<double> numbers = wire.read_doubles(2 * std::int64_t{wire.read_int()});
  for (std::size_t i = 0; i < numbers.size(); i += 2) one.vertices.push_back({numbers[i], numbers[i + 1]});
  return one;
}

wireframe_piece read_piece(stream& wire) {
  const std::int64_t vertices = wire.read_int();
  const std::int64_t triangles = wire.read_int();
  wireframe_piece piece;
  const std::vector<double> numbers = wire.read_doubles(3 * vertices);
  for (std::size_t i = 0; i < numbers.size(); i += 3)
    piece.vertices.push_back({numbers[i], numbers[i + 1], numbers[i + 2]});
  const std::vector<std::int32_t> indices = wire.read_ints(3 * triangles);
  for (std::size_t i = 0; i < indices.size(); i += 3)
    piece.triangles.push_back({{indices[i], indices[i + 1], indices[i + 2]}});
  return piece;
}

fault_segment read_segment(stream& wire) {
  fault_segment segment;
  for (point3& point : segment.points) point = wire.read_point();
  for (double& attribute : segment.attributes) attribute = wire.read_double();
  segment.priority = wire.read_int();
  return segment;
}

template <typename Items>
std::int32_t count_of(const Items& items) {
  if (items.size() > std::size_t{0x7fffffff}) throw bad_argument("too many items in one request");
  return static_cast<std::int32_t>(items.size());
}

}  // namespace

polygon_set connection::polygons() {
  call(request("CPOLYGONS"), "SPOLYGONS");
  polygon_set all;
  all.dimension = wire_.read_bool() ? 2 : 3;
  all.lowest = wire_.read_point();
  all.highest = wire_.read_point();
  all.contours = read_items<contour>(wire_.read_long(), [this] { return read_contour(wire_); });
  return all;
}

void connection::new_polygons(const std::string& name, std::span<const contour> contours) {
  packet head = request("CPOLYNEW");
  head.add_string(name).add_bool(true);
  // The server computes the box itself.
  for (int i = 0; i < 6; ++i) head.add_double(0);
  wire_.write(head.add_long(static_cast<std::int64_t>(contours.size())));
  for (const contour& one : contours) {
    packet part;
    part.add_string(one.name, max_contour_name).add_string(one.polygon, max_contour_name);
    part.add_double(one.z_min).add_double(one.z_max).add_int(count_of(one.vertices));
    for (const point2& vertex : one.vertices) part.add_double(vertex.x).add_double(vertex.y);
    wire_.write(part);
  }
  wire_.flush();
  expect("SDONE");
}

std::vector<wireframe> connection::wireframes() {
  call(request("CWIREREAD"), "SWIREF");
  return read_items<wireframe>(wire_.read_int(), [this] {
    wireframe object;
    object.name = wire_.read_string(max_name);
    object.red = wire_.read_int();
    object.green = wire_.read_int();
    object.blue = wire_.read_int();
    object.pieces = read_items<wireframe_piece>(wire_.read_int(), [this] { return read_piece(wire_); });
    return object;
  });
}

void connection::new_wireframes(const std::string& name, std::span<const wireframe> objects) {
  if (objects.empty()) throw bad_argument("a wireframe file needs an object");
  wire_.write(request("CWIRENEW").add_string(name).add_int(count_of(objects)));
  for (const wireframe& object : objects) {
    packet part;
    part.add_string(object.name, max_name).add_int(object.red).add_int(object.green).add_int(object.blue);
    wire_.write(part.add_int(count_of(object.pieces)));
    for (const wireframe_piece& piece : object.pieces) {
      packet data;
      data.add_int(count_of(piece.vertices)).add_int(count_of(piece.triangles));
      for (const point3& vertex : piece.vertices) add_point(data, vertex);
      for (const triangle& one : piece.triangles) data.add_ints(one.vertices);
      wire_.write(data);
    }
  }
  wire_.flush();
  expect("SDONE");
}

fault_set connection::faults(std::int32_t highest_priority) {
  call(request("CFAULTS").add_int(highest_priority), "SFAULTS");
  fault_set all;
  all.is_2d = wire_.read_bool();
  all.has_attributes = wire_.read_bool();
  all.missing = wire_.read_double();
  all.faults = read_items<fault>(wire_.read_int(), [this] {
    fault one;
    one.name = wire_.read_string(max_fault_name);
    one.is_polyline = wire_.read_bool();
    one.segments = read_items<fault_segment>(wire_.read_int(), [this] { return read_segment(wire_); });
    return one;
  });
  return all;
}

void connection::write_faults(const fault_set& faults) {
  packet head = request("CWRITFAUL");
  head.add_bool(faults.is_2d).add_bool(faults.has_attributes).add_double(faults.missing);
  wire_.write(head.add_int(count_of(faults.faults)));
  for (const fault& one : faults.faults) {
    packet part;
    part.add_string(one.name, max_fault_name).add_bool(one.is_polyline).add_int(count_of(one.segments));
    for (const fault_segment& segment : one.segments) {
      for (const point3& point : segment.points) add_point(part, point);
      part.add_doubles(segment.attributes).add_int(segment.priority);
    }
    wire_.write(part);
  }
  wire_.flush();
  expect("SDONE");
}

}  // namespace qrd::client
