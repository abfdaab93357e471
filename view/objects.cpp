// Polygons, wireframes and faults.
#include "view/answers.h"

namespace qrd::view {

namespace {

void add(std::vector<double>& numbers, const client::point3& point) {
  numbers.insert(numbers.end(), {point.x, point.y, point.z});
}

answer polygons_answer(const client::polygon_set& all) {
  json contours = json::array();
  std::vector<double> numbers;
  for (const client::contour& one : all.contours) {
    contours.push_back({{"name", one.name},
                        {"polygon", one.polygon},
                        {"vertices", one.vertices.size()},
                        {"z", json::array({one.z_min, one.z_max})}});
    for (const client::point2& vertex : one.vertices) numbers.insert(numbers.end(), {vertex.x, vertex.y});
  }
  return bundle_answer({{"dimension", all.dimension}, {"contours", contours}}, numbers, {});
}

answer wireframes_answer(const std::vector<client::wireframe>& all) {
  json pieces = json::array();
  std::vector<double> numbers;
  std::vector<std::uint32_t> corners;
  for (const client::wireframe& object : all)
    for (const client::wireframe_piece& piece : object.pieces) {
      pieces.push_back({{"name", object.name},
                        {"colour", json::array({object.red, object.green, object.blue})},
                        {"vertices", piece.vertices.size()},
                        {"triangles", piece.triangles.size()}});
      for (const client::point3& vertex : piece.vertices) add(numbers, vertex);
      for (const client::triangle& one : piece.triangles)
        for (const std::int32_t corner : one.vertices) corners.push_back(static_cast<std::uint32_t>(corner));
    }
  return bundle_answer({{"pieces", pieces}}, numbers, corners);
}

answer faults_answer(const client::fault_set& all) {
  json faults = json::array();
  std::vector<double> numbers;
  for (const client::fault& one : all.faults) {
    faults.push_back({{"name", one.name}, {"segments", one.segments.size()}});
    for (const client::fault_segment& segment : one.segments)
      for (std::size_t i = 0; i < (all.is_2d ? 2 : 3); ++i) add(numbers, segment.points[i]);
  }
  return bundle_answer({{"dimension", all.is_2d ? 2 : 3}, {"faults", faults}}, numbers, {});
}

}  // namespace

answer objects_answer(source& from, const query& asked) {
  const std::string& kind = asked.text("kind");
  const client::file_place place = asked.place();
  const std::string unit = asked.text_or("unit", {});
  return from.with([&](client::database& database) {
    database.use_unit(unit);
    client::connection& server = database.at(place);
    if (kind == "polygons") return polygons_answer(server.polygons());
    if (kind == "wireframes") return wireframes_answer(server.wireframes());
    if (kind == "faults") return faults_answer(server.faults());
    throw bad_query("there are no such objects");
  });
}

}  // namespace qrd::view
