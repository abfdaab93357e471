// qrd append, set, comment, grid, write --key, and the imports of what isn't samples.
#include "end_to_end/command.h"

namespace qrd::test {
namespace {

TEST_F(commands, exports_come_back_without_options) {
  use_sample_database();
  const auto comes_back = [&](const char* kind, const std::string& directory, const std::string& file,
                              bool same_text) {
    const std::string exported = good({"export", directory + "/" + file, "--header-units"});
    good({"import", kind, directory + "/copy", "-"}, exported);
    const std::string copied = good({"export", directory + "/copy", "--header-units"});
    EXPECT_EQ(std::count(copied.begin(), copied.end(), '\n'),
              std::count(exported.begin(), exported.end(), '\n'))
        << file;
    if (same_text) {
      EXPECT_EQ(copied, exported) << file;
    }
    good({"rm", "--yes", directory + "/copy"});
  };
  comes_back("points", "Holes/Drilling", "collars", false);
  comes_back("lines", "Holes/Drilling", "cores", false);
  comes_back("grid", "Archive/Old data", "cube", true);
  good({"new", "grid", "Archive/Old data/turned", "--nodes", "3", "4", "2", "--origin", "100", "200", "-5",
        "--mesh", "10", "20", "2.5", "--rotation", "30", "12.5", "-7"});
  good({"new", "macro", "Archive/Old data/turned/m", "--names", "au", "ag", "--", "1", "2"});
  good(
      {"write", "Archive/Old data/turned", "m{ag}"}, "m{ag}\n" + [] {
        std::string rows;
        for (int i = 0; i < 24; ++i) rows += std::to_string(i) + "\n";
        return rows;
      }());
  comes_back("grid", "Archive/Old data", "turned", true);
  good({"import", "grid", "Archive/Old data/again", "-"}, good({"export", "Archive/Old data/turned"}));
  const json info = json::parse(good({"info", "--json", "Archive/Old data/again"}));
  EXPECT_EQ(info["nodes"], json({3, 4, 2}));
  EXPECT_EQ(info["mesh"], json({10, 20, 2.5}));
  EXPECT_EQ(info["angles"], json({30, 12.5, -7}));

  // GSLIB lists the nodes with X first.
  good({"import", "grid", "Archive/Old data/listed", "-", "--nodes", "2", "3"},
       "grid\n1\nv\n1\n2\n3\n4\n5\n6\n");
  EXPECT_EQ(good({"read", "Archive/Old data/listed", "v"}), "v\n1\n3\n5\n2\n4\n6\n");
}

TEST_F(commands, tables_longer_than_a_block_keep_their_rows) {
  make_directory();
  std::string table = "x,y,v,t\n", wide = "x,y";
  for (int i = 0; i < 300; ++i) wide += ",m[" + std::to_string(i + 1) + "]";
  for (int row = 0; row < 270000; ++row)
    table += std::to_string(row) + ",0," + std::to_string(row % 1000) + ",a\n";
  good({"import", "points", "S/D/P", "-"}, table);
  EXPECT_EQ(good({"read", "S/D/P", "x", "v", "--first", "262144", "--last", "262145"}),
            "X+ Gravity Center,v\n262143,143\n262144,144\n");
  // The columns of macro variables come when all samples are there.
  wide += "\n";
  for (int row = 0; row < 4000; ++row) {
    wide += std::to_string(row) + ",0";
    for (int i = 0; i < 300; ++i) wide += "," + std::to_string(row + i);
    wide += "\n";
  }
  good({"import", "points", "S/D/W", "-"}, wide);
  EXPECT_EQ(good({"read", "S/D/W", "x", "m[1]", "m[300]", "--first", "3500", "--last", "3500"}),
            "X+ Gravity Center,m[1],m[300]\n3499,3499,3798\n");
}

TEST_F(commands, changes_what_is_there) {
  make_directory();
  good({"import", "points", "S/D/P", "-", "--unit", "d=ft", "--coordinate-unit", "ft"},
       "x,y,id,d\n1,2,A,10\n3,4,B,20\n");
  good({"append", "S/D/P", "-"}, "X;Y;D\n5,5;6;30\n7;8;NA\n");
  EXPECT_EQ(good({"export", "S/D/P"}),
            "X+ Gravity Center,Y+ Gravity Center,d,id\n1,2,10,A\n3,4,20,B\n5.5,6,30,\n7,8,,\n");
  complaint({"append", "S/D/P", "-"}, "x,y,nothing\n1,2,3\n");
  complaint({"append", "S/D/P", "-"}, "x,y,id\n1,2,too long\n");
  good({"set", "S/D/P", "id", "3", "C"});
  good({"set", "S/D/P", "d", "1", "-1.5"});
  complaint({"set", "S/D/P", "d", "5", "1"});
  complaint({"set", "S/D/P", "X+ Gravity Center", "1", "1"});

  const program_run joined = run({"write", "S/D/P", "d", "--key", "id"}, "id,d\nC,33\nnone,1\nB,\n");
  EXPECT_EQ(joined.output, "2 of 4 samples written\n");
  EXPECT_EQ(joined.errors, "qrd: 1 of 3 rows has no sample: line 3\n");
  good({"write", "S/D/P", "d", "--key", "x,y"}, "d,x,y\n40,7,8\n");
  EXPECT_EQ(good({"read", "S/D/P", "d", "id"}), "d,id\n-1.5,A\n,B\n33,C\n40,\n");
  complaint({"write", "S/D/P", "d", "--key", "id"}, "id,d\nA,1\nA,2\n");

  good({"import", "lines", "S/D/L", "-", "--line", "l"}, "l,x,y\n1,0,0\n1,1,0\n");
  good({"append", "S/D/L", "-", "--line", "l"}, "l,x,y\n2,0,5\n3,0,6\n");
  EXPECT_EQ(good({"read", "S/D/L", "LN+ Line Number (READONLY)", "y"}),
            "LN+ Line Number (READONLY),Y+ Gravity Center\n1,0\n1,0\n2,5\n3,6\n");

  good({"comment", "S/D/P", "--set", "two\nlines"});
  EXPECT_EQ(good({"comment", "S/D/P"}), "two\nlines\n");
  good({"new", "grid", "S/D/G", "--nodes", "2", "2"});
  good({"grid", "S/D/G", "--origin", "5", "-6", "--mesh", "2", "3", "--rotation", "90"});
  EXPECT_EQ(good({"read", "S/D/G", "x", "y", "--last", "2"}),
            "X+ Coordinate (READONLY),Y+ Coordinate (READONLY)\n5,-6\n2,-6\n");
  complaint({"grid", "S/D/G", "--mesh", "0", "3"});
}

TEST_F(commands, other_objects_go_in_and_come_out) {
  use_sample_database();
  const std::string out = scratch_ / "o.";
  const std::string square =
      R"({"type":"Feature","properties":{"name":"A"},"geometry":{"type":"Polygon","coordinates":)"
      R"([[[0,0],[9,0],[9,9],[0,9],[0,0]],[[1,1],[1,2],[2,2],[1,1]]]}})";
  good({"import", "polygons", "Holes/Drilling/zones", "-"}, square);
  good({"polygons", "Holes/Drilling/zones", "-o", out + "geojson"});
  EXPECT_EQ(
      read_file(out + "geojson"),
      R"({"type":"FeatureCollection","features":[)"
      "\n"
      R"({"type":"Feature","geometry":{"type":"Polygon","coordinates":[[[0.0,0.0],[9.0,0.0],[9.0,9.0],[0.0,9.0],[0.0,0.0]],)"
      R"([[1.0,1.0],[1.0,2.0],[2.0,2.0],[1.0,1.0]]]},"properties":{"name":"A","contours":["C1","C2"]}})"
      "\n]}\n");
  good({"import", "wireframes", "Holes/Drilling/top", "-", "--format", "obj", "--name", "top"},
       "v 0 0 0\nv 1.5 0 0\nv 0 1 0\nf 1 2 3\n");
  good({"wireframes", "Holes/Drilling/top", "-o", out + "obj"});
  EXPECT_EQ(read_file(out + "obj"), "o top\nv 0 0 0\nv 1.5 0 0\nv 0 1 0\nf 1 2 3\n");
  const std::string fault =
      R"({"dimension":2,"attributes":false,"faults":[{"fault":"F1","polyline":false,"pieces":)"
      R"([{"priority":5,"point 1":[0,0,0],"point 2":[10,20,0]}]}]})";
  good({"new", "grid", "Holes/Drilling/G", "--nodes", "2", "2"});
  good({"import", "faults", "Holes/Drilling/G", "-"}, fault);
  const std::string faults = good({"faults", "Holes/Drilling/G", "--points", "--json"});
  EXPECT_EQ(json::parse(faults)["faults"][0]["pieces"][0]["point 2"], json({10.0, 20.0, 0.0}));
  good({"new", "grid", "Holes/Drilling/H", "--nodes", "2", "2"});
  good({"import", "faults", "Holes/Drilling/H", "-"}, faults);
  EXPECT_EQ(good({"faults", "Holes/Drilling/H", "--points", "--json"}), faults);

  good({"import", "palette", "Holes", "two", "-"}, "0 0 0\n255 7 10\n");
  const std::string palette = scratch_ / "p.json";
  write_file(palette, good({"palettes", "Holes", "two", "--json"}));
  good({"import", "palette", "Holes", "too", palette});
  EXPECT_EQ(json::parse(good({"palettes", "Holes", "too", "--json"}))["colours"][1],
            json({{"red", 255}, {"green", 7}, {"blue", 10}}));
  for (const char* name : {"Copper auto", "Copper manual", "Zones"}) {
    json scale = json::parse(good({"scales", "Holes", name, "--json"}));
    good({"import", "scale", "Holes", "copy", "-"}, scale.dump());
    scale["scale"] = "copy";
    EXPECT_EQ(json::parse(good({"scales", "Holes", "copy", "--json"})), scale);
  }
  const json data =
      json::parse(R"({"version":3,"attributes":[{"name":"n","value":7},{"name":"d","value":[0.5,null]},)"
                  R"({"name":"t","value":["a","b"]},{"name":"none","value":null}]})");
  good({"import", "vendor", "mine", "Holes/Drilling", "-"}, data.dump());
  EXPECT_EQ(json::parse(good({"vendor", "mine", "Holes/Drilling", "--json"}))["attributes"],
            data["attributes"]);

  good({"export", "Holes/Drilling/collars", "-o", out + "points.geojson", "--last", "1"});
  const json points = json::parse(read_file(out + "points.geojson"));
  EXPECT_EQ(points["features"][0]["geometry"]["coordinates"], json({2301130.51, 418592.89, 1611.0}));
  good({"import", "points", "Holes/Drilling/one", out + "points.geojson"});
  EXPECT_EQ(good({"read", "Holes/Drilling/one", "z", "hole"}), "Z+ Gravity Center,hole\n1611,B1-105\n");

  for (const std::string& wrong :
       {std::string("{"), std::string("[]"), std::string(100000, '['), std::string(R"({"type":"Point"})"),
        std::string(R"({"type":"Polygon","coordinates":[[[0,0],[1,1]]]})")})
    complaint({"import", "polygons", "Holes/Drilling/bad", "-"}, wrong);
  for (const char* wrong : {"{\"faults\":[{}]}", "{\"faults\":1}", "7"})
    complaint({"import", "faults", "Holes/Drilling/G", "-"}, wrong);
}

}  // namespace
}  // namespace qrd::test
