// qrd polygons, wireframes, faults: what the objects of a file are.
#include <algorithm>
#include <map>
#include <memory>

#include "command/geojson.h"
#include "command/interruption.h"
#include "command/options.h"
#include "command/output.h"
#include "command/output_file.h"
#include "command/place.h"
#include "command/session.h"
#include "command/terminal.h"
#include "formats/mesh.h"

namespace qrd::command {

namespace {

struct object_options {
  std::vector<std::string> words;
  std::string selection;
  std::string unit;
  std::int32_t priority = 127;
  bool vertices = false;
  std::string output;  // a file in the form of other programs; empty: a description is printed
  bool force = false;
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

std::string polygons_file(client::connection& server, const object_options& /*options*/) {
  return polygons_as_geojson(server.polygons());
}

std::string wireframes_file(client::connection& server, const object_options& options) {
  const auto format = formats::mesh_format_of(options.output);
  if (!format) throw client::error("the name of the file has to end with .obj, .ply or .stl");
  return formats::write_mesh(*format, server.wireframes());
}

std::string faults_file(client::connection& server, const object_options& options) {
  object_options all = options;
  all.vertices = true;
  return json_text(faults_json(server, all)) + "\n";
}

void store(const object_options& options, const std::string& text) {
  const interruption_guard guard;
  output_file file(options.output, options.force ? existing_file::replaced : existing_file::kept);
  std::fwrite(text.data(), 1, text.size(), file.stream());
  file.finish();
}

void describe(const common_options& common, const object_options& options,
              json (*objects_json)(client::connection&, const object_options&),
              std::string (*objects_file)(client::connection&, const object_options&)) {
  need_names(options.words, 3, "STUDY DIRECTORY FILE");
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    client::table file(all, take_file(all, words));
    all.use_unit(options.unit);
    if (!options.output.empty()) {
      store(options, objects_file(all.at(file.place(), options.selection), options));
      return;
    }
    json told = {{"units", file.coordinate_units()}};
    told.append(objects_json(all.at(file.place(), options.selection), options));
    const pager shown(common.paged);
    print_description(told, common.json);
  });
}

}  // namespace

void add_object_commands(const command_line& program, const common_options& common) {
  const auto add = [&](const char* name, const char* description, const char* files, auto objects_json,
                       auto objects_file) {
    const command_line command = program.add_subcommand(name, description);
    auto options = std::make_shared<object_options>();
    add_names(command, options->words, "STUDY DIRECTORY FILE", "The file, also as STUDY/DIRECTORY/FILE");
    add_unit_options(command, options->unit);
    command.add_flag("--points", options->vertices, "Tell every point");
    command.add_option("-o,--output", options->output, "File to write, in the form of other programs")
        .type_name(files);
    command.add_flag("-f,--force", options->force, "Replace the file if it is there");
    command.callback([options, &common, objects_json, objects_file] {
      describe(common, *options, objects_json, objects_file);
    });
    return std::pair(command, options);
  };
  for (auto [command, options] :
       {add("polygons", "List the polygons of a file", "FILE.geojson", polygons_json, polygons_file),
        add("wireframes", "List the wireframes of a file", "FILE.obj|.ply|.stl", wireframes_json,
            wireframes_file)})
    command.add_option("--selection", options->selection, "Selection variable of the file")
        .type_name("VARIABLE");
  const auto [command, options] =
      add("faults", "List the faults of a file", "FILE.json", faults_json, faults_file);
  command.add_option("--priority", options->priority, "Highest priority to list (default: 127)");
}

}  // namespace qrd::command
