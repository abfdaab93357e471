// Geometry, colour resources and vendor data: through the client library to the real server and back, and as
// the program qrd tells them.
#include <nlohmann/json.hpp>

#include "support/database.h"
#include "support/program_run.h"

namespace qrd::test {
namespace {

using json = nlohmann::json;
using client::missing_value;

struct objects : testing::Test, protected served_study {
  // What the program prints, in words or as JSON.
  std::string told(strings arguments) {
    arguments.insert(arguments.begin(), {"--root", root.path()});
    const program_run run = run_program(client_program, arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    return run.output;
  }
  json told_json(strings arguments) {
    arguments.push_back("--json");
    return json::parse(told(arguments));
  }

  // Makes a selection of the current file.
  void select(const std::string& name, const std::vector<std::uint8_t>& flags) {
    to().new_float_variable(name, 1);
    to().set_variable(name);
    to().write_selection(flags);
    to().set_selection(name);
  }
};

TEST_F(objects, polygons) {
  const client::contour lake = {"shore", "Lake", 3, 4, {{0, 0}, {4, 0}, {4, 4}}};
  const client::contour island = {"island", "Lake", 0, 0, {{5, 5}, {6, 5}, {6, 6.5}}};
  const client::contour pit = {"Pit", "", 0, 0, {{-1, 0}, {-1, -2}, {-3, -2}, {-3, 0}}};
  const client::contour line = {"line", "", 0, 0, {{0, 0}, {1, 1}}};
  to().new_polygons("Poly", std::vector{lake, island, pit, line});
  to().set_file("Poly");
  // The limits that were sent count for nothing; a line is no polygon.
  auto stored = [](client::contour one, const char* polygon) {
    one.polygon = polygon;
    one.z_min = 0;
    one.z_max = 1;
    return one;
  };
  const client::polygon_set all = to().polygons();
  EXPECT_EQ(all.dimension, 2);
  EXPECT_EQ(all.lowest, (client::point3{-3, -2, 0}));
  EXPECT_EQ(all.highest, (client::point3{6, 6.5, 0}));
  EXPECT_EQ(all.contours, (std::vector{stored(lake, "Lake"), stored(island, "Lake"), stored(pit, "Pit")}));
  EXPECT_EQ(refusal_of([&] { to().new_polygons("Poly", std::vector{pit}); }),
            "File Study: D/Poly already exists");

  select("pits", {0, 1});
  EXPECT_EQ(to().polygons().contours, (std::vector{stored(pit, "Pit")}));
  EXPECT_EQ(
      told_json({"polygons", "Study", "D", "Poly", "--selection", "pits", "--points", "--unit", "cm"}),
      json::parse(
          R"({"units": ["cm", "cm"], "dimension": 2, "lowest": [-300, -200, 0], "highest": [-100, 0, 100], "polygons": [
              {"polygon": "Pit", "contours": [{"contour": "Pit", "vertices": 4, "points": [
                {"x": -100, "y": 0}, {"x": -100, "y": -200}, {"x": -300, "y": -200}, {"x": -300, "y": 0}]}]}]})"));
  EXPECT_EQ(told({"polygons", "Study", "D", "Poly"}),
            "units:\n  m\n  m\ndimension: 2\nlowest: -3 -2 0\nhighest: 6 6.5 0\npolygons: 2\n"
            "  polygon: Lake\n  contours: 2\n    contour: shore\n    vertices: 3\n    contour: island\n"
            "    vertices: 3\n  polygon: Pit\n  contours: 1\n    contour: Pit\n    vertices: 4\n");
}

TEST_F(objects, wireframes) {
  const client::wireframe_piece tetrahedron = {{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {0, 0, 2.5}},
                                               {{{0, 2, 1}}, {{0, 1, 3}}, {{0, 3, 2}}, {{1, 2, 3}}}};
  const client::wireframe ore = {"Ore", 1, 2, 3, {tetrahedron, {}}};
  const client::wireframe other = {std::string(49, 'n'), 4, 5, 6, {tetrahedron}};
  to().new_wireframes("Wire", std::vector{ore, other});
  to().set_file("Wire");
  EXPECT_EQ(to().wireframes(), (std::vector{ore, other}));
  select("first", {1, 0});
  EXPECT_EQ(to().wireframes(), (std::vector{ore}));
  EXPECT_EQ(
      told_json({"wireframes", "Study", "D", "Wire"}),
      json::parse(
          R"({"units": ["m", "m", "m"], "wireframes": [{"object": "Ore", "colour": [1, 2, 3], "pieces": [
              {"vertices": 4, "triangles": 4}, {"vertices": 0, "triangles": 0}]}, {"object": ")" +
          other.name + R"(", "colour": [4, 5, 6], "pieces": [{"vertices": 4, "triangles": 4}]}]})"));
  const json points = told_json({"wireframes", "Study", "D", "Wire", "--selection", "first", "--points"});
  EXPECT_EQ(points["wireframes"][0]["pieces"][0]["points"][3], json::parse(R"({"x": 0, "y": 0, "z": 2.5})"));
  EXPECT_EQ(points["wireframes"][0]["pieces"][0]["surface"][3], json::parse(R"({"corners": [1, 2, 3]})"));
}

TEST_F(objects, faults) {
  to().new_points("P", 2, std::vector<double>{0, 0, 1, 1});
  to().set_file("P");
  EXPECT_EQ(refusal_of([&] { to().faults(); }), "P is not a faulted file.");
  client::fault_segment first, second;
  first.points[0] = {1, 2, 0};
  first.points[1] = {3, 4, 0};
  first.attributes[1] = 0.5;
  second.points[0] = {3, 4, 0};
  second.points[1] = {5, 6, 0};
  second.priority = 100;
  client::fault_set sent;
  sent.has_attributes = true;
  sent.faults = {{"North", true, {first, second}}, {"South", false, {second}}};
  to().write_faults(sent);
  EXPECT_EQ(to().faults(), sent);
  client::fault_set urgent = sent;
  urgent.faults = {{"North", true, {first}}};
  EXPECT_EQ(to().faults(99), urgent);
  EXPECT_EQ(refusal_of([&] { to().write_faults(sent); }), "P is an already faulted file.");
  EXPECT_EQ(
      told_json({"faults", "Study", "D", "P", "--priority", "99", "--points"}),
      json::parse(
          R"({"units": ["m", "m"], "dimension": 2, "attributes": true, "faults": [{"fault": "North", "polyline": true,
              "segments": 1, "pieces": [{"priority": 1, "point 1": [1, 2, 0], "point 2": [3, 4, 0],
              "attributes": [null, 0.5, null]}]}]})"));
  EXPECT_EQ(told({"faults", "Study", "D", "P"}),
            "units:\n  m\n  m\ndimension: 2\nattributes: yes\nfaults: 2\n  fault: North\n  polyline: yes\n  "
            "segments: 2\n"
            "  fault: South\n  polyline: no\n  segments: 1\n");
}

TEST_F(objects, palettes) {
  write_file(root / "PAL.0", "Rainbow\n  1   2   3\n");
  const std::vector<client::rgb> greys = {{0, 0, 0}, {128, 127, 126}, {255, 255, 255}};
  to().write_palette("Greys", greys);
  EXPECT_EQ(to().palettes(), (strings{"Greys", "Rainbow"}));
  EXPECT_TRUE(to().palette_exists("Rainbow"));
  EXPECT_EQ(to().palette("Greys"), greys);
  EXPECT_EQ(told_json({"palettes", "Study"}), json::parse(R"(["Greys", "Rainbow"])"));
  EXPECT_EQ(told({"palettes", "Study"}), "Greys\nRainbow\n");
  EXPECT_EQ(told_json({"palettes", "Study", "Rainbow"}),
            json::parse(R"({"palette": "Rainbow", "colours": [{"red": 1, "green": 2, "blue": 3}]})"));
  to().delete_palette("Greys");
  EXPECT_FALSE(to().palette_exists("Greys"));
  EXPECT_EQ(refusal_of([&] { to().palette("Greys"); }), "An error happened during Palette Greys read");
}

TEST_F(objects, scales) {
  client::colour_scale automatic;
  automatic.palette = "P";
  automatic.colour_1 = {1, 2, 3};
  automatic.colour_2 = automatic.colour_3 = {-1, -1, -1};
  client::colour_scale manual = automatic;
  manual.kind = client::scale_kind::manual;
  manual.classes = 3;
  manual.colour_2 = {4, 5, 6};
  manual.colour_3 = {7, 8, 9};
  manual.modes = {1, 0, 1};
  manual.bounds = {0, 1.5, 3, 10};
  manual.palette_indices = {2, 0, 1};
  client::colour_scale facies = automatic;
  facies.kind = client::scale_kind::facies;
  facies.colour_2 = {4, 5, 6};
  facies.integer_bounds = true;
  facies.intervals = {{1, 2, 0}, {3, 4, 1}, {5, 6, 0}};
  facies.facies = {{{10, 20, 30}, "sand"}, {{40, 50, 60}, "clay"}};
  to().write_scale("a", automatic);
  to().write_scale("m", manual);
  to().write_scale("f", facies);
  EXPECT_EQ(to().scales(), (strings{"a", "f", "m"}));
  EXPECT_EQ(to().scale("a"), automatic);
  EXPECT_EQ(to().scale("m"), manual);
  EXPECT_EQ(to().scale("f"), facies);
  EXPECT_EQ(told({"scales", "Study"}), "a\nf\nm\n");
  EXPECT_EQ(told_json({"scales", "Study", "m"}),
            json::parse(R"({"scale": "m", "kind": "manual", "read only": false, "palette": "P", "classes": 3,
              "colours": [[1, 2, 3], [4, 5, 6], [7, 8, 9]], "modes": [1, 0, 1],
              "bounds": [0.0, 1.5, 3.0, 10.0], "palette indices": [2, 0, 1]})"));
  EXPECT_EQ(told_json({"scales", "Study", "f"}),
            json::parse(R"({"scale": "f", "kind": "facies", "read only": false, "palette": "P", "classes": 2,
              "colours": [[1, 2, 3], [4, 5, 6], [-1, -1, -1]], "modes": [2, 0, 2],
              "integer bounds": true, "intervals": [{"from": 1.0, "to": 2.0, "palette index": 0},
              {"from": 3.0, "to": 4.0, "palette index": 1}, {"from": 5.0, "to": 6.0, "palette index": 0}],
              "facies": [{"label": "sand", "colour": [10, 20, 30]}, {"label": "clay", "colour": [40, 50, 60]}]})"));
  to().delete_scale("m");
  EXPECT_FALSE(to().scale_exists("m"));
}

TEST_F(objects, vendor_data) {
  using client::vendor_scope;
  to().new_points("P", 2, std::vector<double>{0, 0, 1, 1});
  to().set_file("P");
  to().new_float_variable("v", 64);
  to().set_variable("v");
  client::vendor_bag bag;
  bag.attributes = {{"nothing", {}},
                    {"number", -7},
                    {"real", 2.5},
                    {"text", std::string(20000, 't')},
                    {"numbers", std::vector<std::int32_t>{1, 2, 2147483647}},
                    {"reals", std::vector<double>{0.5, missing_value}},
                    {"texts", strings{"", "ab"}},
                    {"none", std::vector<double>{}}};
  for (const auto scope :
       {vendor_scope::study, vendor_scope::directory, vendor_scope::file, vendor_scope::variable}) {
    EXPECT_FALSE(to().vendor_data_exists("bag", scope));
    bag.version = static_cast<std::int32_t>(scope) + 1;
    to().write_vendor_data("bag", scope, bag);
    EXPECT_EQ(to().vendor_data_version("bag", scope), bag.version);
    EXPECT_EQ(to().vendor_data("bag", scope), bag);
  }
  strings owner = {"vendor", "bag", "Study"};
  for (int version = 1; version <= 4; ++version) {
    EXPECT_EQ(told_json(owner)["version"], version);
    if (version < 4) owner.push_back(strings{"D", "P", "v"}[static_cast<std::size_t>(version - 1)]);
  }
  bag.attributes = {{"number", -7}, {"texts", strings{"x", "y"}}, {"nothing", {}}};
  to().write_vendor_data("bag", vendor_scope::file, bag);
  EXPECT_EQ(
      told_json({"vendor", "bag", "Study", "D", "P"}),
      json::parse(R"({"vendor data": "bag", "version": 4, "attributes": [{"name": "number", "value": -7},
              {"name": "texts", "value": ["x", "y"]}, {"name": "nothing", "value": null}]})"));
}

}  // namespace
}  // namespace qrd::test
