// qrd polygons, wireframes, faults: what the objects of a file are.
#include <algorithm>
#include <map>
#include <memory>

#include "command/options.h"
#include "command/output.h"
#include "command/place.h"
#include "command/session.h"
#include "command/terminal.h"

namespace qrd::command {

namespace {

struct object_options {
  std::vector<std::string> words;
  std::string selection;
  std::string unit;
  std::int32_t priority = 127;
  bool vertices = false;
};

json point_json(const client::point3& point) {
  return json::array({point.x, point.y, point.z});
}

json value_json(double value, double missing) {
  return value == missing ? json() : json(value);
}

json polygons_json(client::connection& server, const object_options& options) {
  const client::polygon_set all = server.polygons();
  json::elements polygons;
  std::map<std::string, std::size_t> places;
  for (const client::contour& one : all.contours) {
    const auto [place, is_new] = places.emplace(one.polygon, polygons.size());
    if (is_new) polygons.push_back({{"polygon", one.polygon}, {"contours", json::array()}});
    json contour = {{"contour", one.name}, {"vertices", one.vertices.size()}};
    if (all.dimension == 3) contour["z"] = json::array({one.z_min, one.z_max});
    if (options.vertices) {
      json points = json::array();
      for (const client::point2& vertex : one.vertices) points.push_back({{"x", vertex.x}, {"y", vertex.y}});
      contour["points"] = points;
    }
    polygons[place->second]["contours"].push_back(contour);
  }
  return {{"dimension", all.dimension},
          {"lowest", point_json(all.lowest)},
          {"highest", point_json(all.highest)},
          {"polygons", polygons}};
}

json wireframes_json(client::connection& server, const object_options& options) {
  json objects = json::array();
  for (const client::wireframe& object : server.wireframes()) {
    json pieces = json::array();
    for (const client::wireframe_piece& piece : object.pieces) {
      json told = {{"vertices", piece.vertices.size()}, {"triangles", piece.triangles.size()}};
      if (options.vertices) {
        json points = json::array(), corners = json::array();
        for (const client::point3& vertex : piece.vertices)
          points.push_back({{"x", vertex.x}, {"y", vertex.y}, {"z", vertex.z}});
        for (const client::triangle& one : piece.triangles)
          corners.push_back({{"corners", json::array({one.vertices[0], one.vertices[1], one.vertices[2]})}});
        told["points"] = points;
        told["surface"] = corners;
      }
      pieces.push_back(told);
    }
    objects.push_back({{"object", object.name},
                       {"colour", json::array({object.red, object.green, object.blue})},
                       {"pieces", pieces}});
  }
  return {{"wireframes", objects}};
}

json faults_json(client::connection& server, const object_options& options) {
  const client::fault_set all = server.faults(options.priority);
  json faults = json::array();
  for (const client::fault& one : all.faults) {
    json told = {{"fault", one.name}, {"polyline", one.is_polyline}, {"segments", one.segments.size()}};
    if (options.vertices) {
      json segments = json::array();
      for (const client::fault_segment& segment : one.segments) {
        json each = {{"priority", segment.priority}};
        for (int i = 0; i < (all.is_2d ? 2 : 3); ++i)
          each["point " + std::to_string(i + 1)] = point_json(segment.points[i]);
        if (all.has_attributes)
          each["attributes"] = json::array({value_json(segment.attributes[0], all.missing),
                                            value_json(segment.attributes[1], all.missing),
                                            value_json(segment.attributes[2], all.missing)});
        segments.push_back(each);
      }
      told["pieces"] = segments;
    }
    faults.push_back(told);
  }
  return {{"dimension", all.is_2d ? 2 : 3}, {"attributes", all.has_attributes}, {"faults", faults}};
}

void describe(const common_options& common, const object_options& options,
              json (*objects_json)(client::connection&, const object_options&)) {
  need_names(options.words, 3, "STUDY DIRECTORY FILE");
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    client::table file(all, take_file(all, words));
    all.use_unit(options.unit);
    json told = {{"units", file.coordinate_units()}};
    told.append(objects_json(all.at(file.place(), options.selection), options));
    const pager shown(common.paged);
    print_description(told, common.json);
  });
}

}  // namespace

void add_object_commands(const command_line& program, const common_options& common) {
  const auto add = [&](const char* name, const char* description, auto objects_json) {
    const command_line command = program.add_subcommand(name, description);
    auto options = std::make_shared<object_options>();
    add_names(command, options->words, "STUDY DIRECTORY FILE", "The file, also as STUDY/DIRECTORY/FILE");
    add_unit_options(command, options->unit);
    command.add_flag("--points", options->vertices, "Tell every point");
    command.callback([options, &common, objects_json] { describe(common, *options, objects_json); });
    return std::pair(command, options);
  };
  for (auto [command, options] : {add("polygons", "List the polygons of a file", polygons_json),
                                  add("wireframes", "List the wireframes of a file", wireframes_json)})
    command.add_option("--selection", options->selection, "Selection variable of the file")
        .type_name("VARIABLE");
  const auto [command, options] = add("faults", "List the faults of a file", faults_json);
  command.add_option("--priority", options->priority, "Highest priority to list (default: 127)");
}

}  // namespace qrd::command
