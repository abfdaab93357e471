// qrd import polygons, wireframes, faults, palette, scale, vendor: what isn't samples.
//
// What qrd itself tells of them as JSON comes back by these.
#include <algorithm>
#include <cmath>
#include <memory>

#include "command/cells.h"
#include "command/geojson.h"
#include "command/import_objects.h"
#include "command/interruption.h"
#include "command/names.h"
#include "command/place.h"
#include "command/session.h"
#include "formats/input.h"
#include "formats/mesh.h"
#include "qrd/names.h"

namespace qrd::command {

namespace {

struct object_import {
  std::vector<std::string> words;  // where, and the file to read at the end
  std::string unit = "m";
  std::string format;
  std::string name;
};

std::string text_in(const std::string& path) {
  formats::input from(path);
  return formats::read_all(from);
}

// Takes the file to read from the end of the words.
std::string take_source(std::vector<std::string>& words, std::size_t names, const std::string& type) {
  need_names(words, names + 1, type);
  std::string source = words.back();
  words.pop_back();
  return source;
}

const json& member(const json& of, const char* name) {
  if (!of.contains(name)) throw client::error("the JSON has no \"" + std::string(name) + "\"");
  return of[name];
}

const json::elements& list_in(const json& of, const char* name) {
  const auto* all = member(of, name).as<json::elements>();
  if (all == nullptr) throw client::error("\"" + std::string(name) + "\" is no list in the JSON");
  return *all;
}

double number_in(const json& value) {
  const auto number = value.number();
  if (!number || !std::isfinite(*number))
    throw client::error("the JSON has something else where a number has to be");
  return *number;
}

// A whole number of 32 bits.
std::int32_t integer_in(const json& value) {
  const double number = number_in(value);
  if (number != std::floor(number) || std::abs(number) > 2147483647)
    throw client::error("the JSON has " + json_text(value, -1) + " where a whole number has to be");
  return static_cast<std::int32_t>(number);
}

std::string text_in(const json& value) {
  const auto* text = value.as<std::string>();
  if (text == nullptr)
    throw client::error("the JSON has " + json_text(value, -1) + " where a text has to be");
  return *text;
}

bool truth_of(const json& value) {
  const auto* is = value.as<bool>();
  return is != nullptr && *is;
}

client::rgb colour_in(const json& value) {
  client::rgb colour{};
  const auto* parts = value.as<json::elements>();
  for (std::size_t i = 0; i < 3; ++i) {
    const json* part = parts != nullptr && i < parts->size() ? &(*parts)[i] : nullptr;
    colour[i] = integer_in(part != nullptr ? *part : value[i == 0 ? "red" : i == 1 ? "green" : "blue"]);
    if (colour[i] < -1 || colour[i] > 255) throw client::error("a colour has parts from 0 to 255");
  }
  return colour;
}

client::point3 point_in(const json& value) {
  const auto* parts = value.as<json::elements>();
  if (parts == nullptr || parts->size() < 2) throw client::error("a place in the JSON needs its coordinates");
  return {number_in((*parts)[0]), number_in((*parts)[1]), parts->size() > 2 ? number_in((*parts)[2]) : 0};
}

// The polygons as qrd tells them with --points.
std::vector<client::contour> own_polygons(const json& document) {
  std::vector<client::contour> contours;
  for (const json& polygon : list_in(document, "polygons"))
    for (const json& one : list_in(polygon, "contours")) {
      client::contour made;
      made.polygon = text_in(polygon["polygon"]);
      made.name = text_in(one["contour"]);
      for (const json& point : list_in(one, "points"))
        made.vertices.push_back({number_in(point["x"]), number_in(point["y"])});
      contours.push_back(std::move(made));
    }
  return contours;
}

// Makes a file of objects in a directory: `send` gets the connection, with the directory current, and the
// name.
void make_objects(const common_options& common, const std::string& unit, std::vector<std::string> words,
                  const std::function<void(client::connection&, const std::string&)>& send) {
  with_database(common, [&](client::database& database) {
    const object_path path = take_path(database, words, 3, last_name::made);
    if (path.size() != 3 || !words.empty())
      throw wrong_usage("give STUDY DIRECTORY FILE, and the file to read");
    client::check_new_name(path[2], "file");
    database.use_unit(unit);
    client::connection& server = database.at(path[0], path[1]);
    if (server.file_exists(path[2])) throw client::refusal("the file \"" + path[2] + "\" is there already");
    server.set_creation_units(unit, unit, unit);
    send(server, path[2]);
  });
}

void import_polygons(const common_options& common, const object_import& options) {
  std::vector<std::string> words = options.words;
  const json document = parse_json(text_in(take_source(words, 3, "STUDY DIRECTORY FILE POLYGONS.geojson")));
  const auto contours = document.contains("polygons") ? own_polygons(document) : contours_of(document);
  if (contours.empty()) throw client::error("there are no polygons");
  make_objects(common, options.unit, words, [&](client::connection& server, const std::string& name) {
    server.new_polygons(name, contours);
  });
  std::printf("%zu contours\n", contours.size());
}

void import_wireframes(const common_options& common, const object_import& options) {
  std::vector<std::string> words = options.words;
  const std::string source = take_source(words, 3, "STUDY DIRECTORY FILE SURFACE.obj|.ply|.stl");
  const std::string packed = source.ends_with(".gz") ? source.substr(0, source.size() - 3) : source;
  const auto format = formats::mesh_format_of(options.format.empty() ? packed : "." + options.format);
  if (!format) throw client::error("tell by --format obj, ply or stl what " + source + " is");
  std::string name = options.name;
  if (name.empty()) {
    name = packed.substr(packed.rfind('/') + 1);
    name = name.substr(0, name.rfind('.'));
  }
  const auto objects = formats::read_mesh(*format, text_in(source), name);
  make_objects(common, options.unit, words, [&](client::connection& server, const std::string& file) {
    server.new_wireframes(file, objects);
  });
  for (const client::wireframe& one : objects) {
    std::size_t vertices = 0, triangles = 0;
    for (const client::wireframe_piece& piece : one.pieces) {
      vertices += piece.vertices.size();
      triangles += piece.triangles.size();
    }
    std::printf("%s: %zu vertices, %zu triangles\n", one.name.c_str(), vertices, triangles);
  }
}

// As qrd tells faults with --points.
client::fault_set faults_in(const json& document) {
  client::fault_set set;
  set.is_2d = document.contains("dimension") && integer_in(document["dimension"]) == 2;
  set.has_attributes = truth_of(document["attributes"]);
  for (const json& one : list_in(document, "faults")) {
    client::fault made;
    made.name = text_in(one["fault"]);
    if (made.name.size() > 7)
      throw client::error("the name \"" + made.name + "\" has more than 7 characters");
    made.is_polyline = truth_of(one["polyline"]);
    for (const json& piece : list_in(one, "pieces")) {
      client::fault_segment segment;
      const int corners = set.is_2d ? 2 : 3;
      for (int i = 0; i < corners; ++i)
        segment.points[i] = point_in(member(piece, ("point " + std::to_string(i + 1)).c_str()));
      if (piece.contains("priority")) segment.priority = integer_in(piece["priority"]);
      if (segment.priority < 1 || segment.priority > 127)
        throw client::error("a priority lies between 1 and 127");
      if (const auto* values = piece["attributes"].as<json::elements>())
        for (std::size_t i = 0; i < std::min<std::size_t>(3, values->size()); ++i)
          if (!(*values)[i].is_null()) segment.attributes[i] = number_in((*values)[i]);
      made.segments.push_back(segment);
    }
    set.faults.push_back(std::move(made));
  }
  return set;
}

void import_faults(const common_options& common, const object_import& options) {
  std::vector<std::string> words = options.words;
  const client::fault_set faults =
      faults_in(parse_json(text_in(take_source(words, 3, "STUDY DIRECTORY FILE FAULTS.json"))));
  with_database(common, [&](client::database& database) {
    const client::file_place place = take_file(database, words);
    database.use_unit(options.unit);
    client::connection& server = database.at(place);
    server.set_creation_units(options.unit, options.unit, options.unit);
    server.write_faults(faults);
  });
  std::printf("%zu faults\n", faults.faults.size());
}

std::vector<client::rgb> palette_in(const std::string& source) {
  std::vector<client::rgb> colours;
  if (is_geojson_name(source)) {
    const json document = parse_json(text_in(source));
    for (const json& one : list_in(document, "colours")) colours.push_back(colour_in(one));
    return colours;
  }
  formats::text_table table(source);
  std::vector<read_column> columns;
  const bool named = table.find("red").has_value();
  for (std::size_t i = 0; i < 3; ++i) {
    const char* names[] = {"red", "green", "blue"};
    if (!named && table.names().size() < 3) throw client::error("a colour needs red, green and blue");
    columns.push_back({named ? table.index_of(names[i]) : i, {8, 0, 0}, true});
  }
  // In 8 bits the highest value would be missing.
  for (read_column& one : columns) one.type.bits = 16;
  const table_block all = read_whole(table, {}, columns);
  for (std::size_t row = 0; row < all.rows(); ++row) {
    client::rgb colour{};
    for (std::size_t i = 0; i < 3; ++i) colour[i] = static_cast<std::int32_t>(all.columns[i].numbers[row]);
    if (std::any_of(colour.begin(), colour.end(), [](std::int32_t part) { return part > 255; }))
      throw client::error(table.where(all.lines[row]) + ": a colour has parts from 0 to 255");
    colours.push_back(colour);
  }
  return colours;
}

void in_study(const common_options& common, std::vector<std::string> words,
              const std::function<void(client::connection&, const std::string&)>& act) {
  with_database(common, [&](client::database& database) {
    const object_path path = take_path(database, words, 1);
    if (path.empty() || words.size() != 1) throw wrong_usage("give STUDY NAME, and the file to read");
    client::check_new_name(words[0], "palette or scale");
    act(database.at(path[0]), words[0]);
  });
}

void import_palette(const common_options& common, const object_import& options) {
  std::vector<std::string> words = options.words;
  const std::vector<client::rgb> colours = palette_in(take_source(words, 2, "STUDY NAME COLOURS"));
  if (colours.empty() || colours.size() > 256) throw client::error("a palette has 1 to 256 colours");
  in_study(common, words,
           [&](client::connection& server, const std::string& name) { server.write_palette(name, colours); });
}

// As qrd tells a scale.
client::colour_scale scale_in(const json& document) {
  client::colour_scale scale;
  constexpr const char* kinds[] = {"automatic", "classes", "manual", "facies"};
  const std::string kind = text_in(member(document, "kind"));
  const auto* found = std::find(std::begin(kinds), std::end(kinds), kind);
  if (found == std::end(kinds)) throw client::error("\"" + kind + "\" is no kind of a scale");
  scale.kind = static_cast<client::scale_kind>(found - std::begin(kinds));
  scale.read_only = truth_of(document["read only"]);
  scale.palette = text_in(member(document, "palette"));
  scale.classes = integer_in(member(document, "classes"));
  if (scale.classes < 1 || scale.classes > 256) throw client::error("a scale has 1 to 256 classes");
  client::rgb* colours[] = {&scale.colour_1, &scale.colour_2, &scale.colour_3};
  if (const auto* told = document["colours"].as<json::elements>())
    for (std::size_t i = 0; i < std::min<std::size_t>(3, told->size()); ++i)
      *colours[i] = colour_in((*told)[i]);
  if (const auto* modes = document["modes"].as<json::elements>())
    for (std::size_t i = 0; i < std::min<std::size_t>(3, modes->size()); ++i)
      scale.modes[i] = integer_in((*modes)[i]);
  const auto classes = static_cast<std::size_t>(scale.classes);
  if (scale.kind == client::scale_kind::manual) {
    for (const json& one : list_in(document, "bounds")) scale.bounds.push_back(number_in(one));
    for (const json& one : list_in(document, "palette indices"))
      scale.palette_indices.push_back(integer_in(one));
    if (scale.bounds.size() != classes + 1 || scale.palette_indices.size() != classes)
      throw client::error(
          "a manual scale needs one bound more than classes, and a palette index for each class");
  }
  if (scale.kind == client::scale_kind::facies) {
    scale.integer_bounds = truth_of(document["integer bounds"]);
    for (const json& one : list_in(document, "intervals"))
      scale.intervals.push_back(
          {number_in(one["from"]), number_in(one["to"]), integer_in(one["palette index"])});
    for (const json& one : list_in(document, "facies"))
      scale.facies.push_back({colour_in(one["colour"]), text_in(one["label"])});
    if (scale.facies.size() != classes) throw client::error("a scale of facies needs one for each class");
  }
  return scale;
}

void import_scale(const common_options& common, const object_import& options) {
  std::vector<std::string> words = options.words;
  const client::colour_scale scale =
      scale_in(parse_json(text_in(take_source(words, 2, "STUDY NAME SCALE.json"))));
  in_study(common, words,
           [&](client::connection& server, const std::string& name) { server.write_scale(name, scale); });
}

// Whole numbers are integers, others doubles; null among numbers is a missing one.
client::vendor_value vendor_value_in(const json& value) {
  const auto is_integer = [](const json& one) {
    const auto* whole = one.as<std::int64_t>();
    return whole != nullptr && std::abs(static_cast<double>(*whole)) <= 2147483647;
  };
  const auto double_in = [](const json& one) {
    return one.is_null() ? client::missing_value : number_in(one);
  };
  if (value.is_null()) return std::monostate();
  if (value.as<std::string>() != nullptr) return text_in(value);
  if (is_integer(value)) return integer_in(value);
  const auto* all = value.as<json::elements>();
  if (all == nullptr) return double_in(value);
  if (std::all_of(all->begin(), all->end(), is_integer)) {
    std::vector<std::int32_t> values;
    for (const json& one : *all) values.push_back(integer_in(one));
    return values;
  }
  if (std::any_of(all->begin(), all->end(),
                  [](const json& one) { return one.as<std::string>() != nullptr; })) {
    std::vector<std::string> values;
    for (const json& one : *all) values.push_back(text_in(one));
    return values;
  }
  std::vector<double> values;
  for (const json& one : *all) values.push_back(double_in(one));
  return values;
}

void import_vendor(const common_options& common, const object_import& options) {
  constexpr const char* type = "NAME STUDY [DIRECTORY [FILE [VARIABLE]]] DATA.json";
  std::vector<std::string> words = options.words;
  const json document = parse_json(text_in(take_source(words, 2, type)));
  const std::string name = words[0];
  words.erase(words.begin());
  client::vendor_bag bag;
  bag.version = document.contains("version") ? integer_in(document["version"]) : 0;
  for (const json& one : list_in(document, "attributes"))
    bag.attributes.push_back({text_in(one["name"]), vendor_value_in(one["value"])});
  with_database(common, [&](client::database& database) {
    const object_path owner = take_path(database, words, all_levels);
    if (owner.empty() || !words.empty()) throw wrong_usage(std::string("give ") + type);
    choose(database, owner).write_vendor_data(name, static_cast<client::vendor_scope>(owner.size() - 1), bag);
  });
}

}  // namespace

void add_object_imports(const command_line& parent, const common_options& common) {
  const auto add = [&](const char* name, const char* text, const char* type, const char* of_words,
                       bool has_unit, void (*act)(const common_options&, const object_import&)) {
    const command_line command = parent.add_subcommand(name, text);
    auto options = std::make_shared<object_import>();
    add_names(command, options->words, type, of_words);
    if (has_unit)
      command.add_option("--coordinate-unit", options->unit, "Unit of the coordinates (default: m)")
          .type_name("SYMBOL")
          .check(length_symbol_problem);
    command.callback([options, &common, act] { act(common, *options); });
    return std::pair(command, options);
  };
  add("polygons", "Make a file of polygons from GeoJSON", "STUDY DIRECTORY FILE POLYGONS.geojson",
      "The file to make, and the one to read, - for standard input", true, import_polygons);
  const auto [command, options] = add(
      "wireframes", "Make a file of wireframes from an OBJ, PLY or STL file", "STUDY DIRECTORY FILE SURFACE",
      "The file to make, and the one to read, - for standard input", true, import_wireframes);
  command.add_option("--format", options->format, "obj, ply or stl (default: the ending of the name)")
      .one_of({"obj", "ply", "stl"});
  command.add_option("--name", options->name, "Of an object that has none (default: that of the file)")
      .type_name("NAME");
  add("faults", "Give a file faults, as \"qrd faults --points --json\" tells them",
      "STUDY DIRECTORY FILE FAULTS.json", "The file that gets them, and the one to read", true,
      import_faults);
  add("palette", "Make a palette of rows of red, green and blue, or of what \"qrd palettes --json\" tells",
      "STUDY NAME COLOURS", "Its study and name, and the file to read", false, import_palette);
  add("scale", "Make a colour scale, as \"qrd scales --json\" tells it", "STUDY NAME SCALE.json",
      "Its study and name, and the file to read", false, import_scale);
  add("vendor", "Give an object vendor data, as \"qrd vendor --json\" tells them",
      "NAME STUDY [DIRECTORY [FILE [VARIABLE]]] DATA.json",
      "Name of the data, their owner, and the file to read", false, import_vendor);
}

}  // namespace qrd::command
