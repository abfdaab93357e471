// qrd plot, on the sample database: what stands in each kind of picture.
#include <map>
#include <set>

#include "end_to_end/command.h"

namespace qrd::test {
namespace {

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++found;
  return found;
}

class pictures : public commands {
 protected:
  void SetUp() override {
    use_sample_database();
    // Under a sanitizer: what the library of fonts keeps until the end is not ours.
    write_file(path("leaks"), "leak:libfontconfig\n");
    setenv("LSAN_OPTIONS", ("print_suppressions=0:suppressions=" + path("leaks")).c_str(), 1);
  }

  std::string path(const std::string& name) { return scratch_ / name; }
  // The bytes of the picture, which takes the place of the one before.
  std::string drawn(strings arguments, const std::string& name = "a.svg") {
    arguments.insert(arguments.begin(), "plot");
    arguments.insert(arguments.end(), {"-o", path(name), "--force"});
    EXPECT_EQ(good(arguments), "");
    return read_file(path(name));
  }
  // Each of these texts stands in it whole.
  static void expect_texts(const std::string& svg, const strings& texts) {
    EXPECT_TRUE(svg.starts_with("<?xml") && svg.ends_with("</svg>\n"));
    for (const std::string& text : texts) EXPECT_EQ(count(svg, ">" + text + "</text>"), 1U) << text;
  }
};

TEST_F(pictures, of_points_lines_and_polygons_from_above) {
  const strings signs = {"X (ft)", "Y (ft)", "N", "500 ft"};
  const std::string collars = drawn({"Holes", "Drilling", "collars", "depth"});
  expect_texts(collars, signs);
  expect_texts(collars, {"Holes / Drilling / collars: depth (ft)", "50 samples", "depth (ft)"});
  EXPECT_EQ(count(collars, "<circle"), 50U);
  expect_texts(drawn({"Holes", "Drilling", "collars", "depth", "--metres"}), {"X (m)", "depth (m)"});

  const std::string cores = drawn({"Holes", "Drilling", "cores", "Cu", "--scale", "Copper manual"});
  expect_texts(cores, signs);
  expect_texts(cores, {"3762 samples in 50 lines, 522 missing", "missing: 522", "0.4 – 0.8", "B1-321"});
  EXPECT_EQ(count(cores, "stroke-width=\"3.5\""), 5U);  // cores, a path for each class
  EXPECT_EQ(count(drawn({"Holes", "Drilling", "cores"}), "stroke-width=\"3.5\""), 0U);
  expect_texts(drawn({"Holes", "Drilling", "cores", "Cu class", "--scale", "Zones", "--selection", "ore"}),
               {"Barren", "Low", "Ore", "3762 samples in 50 lines, 1627 selected by ore, 932 in no class"});

  const std::string domains = drawn({"Holes", "Drilling", "domains"});
  expect_texts(domains, {"3 polygons", "North", "South", "All"});
  EXPECT_EQ(count(domains, "stroke-width=\"1.2\""), 7U);  // rings, and a polygon each in the legend
}

TEST_F(pictures, of_polygons_wireframes_and_faults) {
  // A box of twelve triangles among the holes, in metres; its faces don't all go round the same way.
  const double west = 701000, east = 701500, south = 127700, north = 128000;
  std::string box = "o Body\n";
  for (const double z : {0.0, 100.0})
    for (const double y : {south, north})
      for (const double x : {west, east})
        box += "v " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(z) + "\n";
  for (const char* face : {"1 2 4 3", "5 7 8 6", "1 2 6 5", "3 4 8 7", "1 3 7 5", "2 4 8 6"}) {
    const std::string corners = face;
    box += "f " + corners.substr(0, 5) + "\nf " + corners.substr(0, 1) + corners.substr(3) + "\n";
  }
  write_file(path("box.obj"), box);
  good({"import", "wireframes", "Holes", "Drilling", "bodies", path("box.obj")});
  // Seen from above top and bottom are one rectangle each, without the edges of their triangles.
  const std::string alone = drawn({"Holes", "Drilling", "bodies"});
  expect_texts(alone, {"1 wireframe", "Body"});
  const std::string opaque = "\" fill=\"#009100\" fill-opacity=\"0.25\"";
  const std::size_t end = alone.find(opaque), begin = alone.rfind('"', end - 1);
  const std::string shape = alone.substr(begin, end - begin);
  EXPECT_EQ(count(shape, "M"), 2U) << shape;
  EXPECT_EQ(count(shape, "L"), 6U) << shape;
  EXPECT_EQ(count(alone.substr(end, 200), "evenodd"), 0U);

  const strings beside = {"--wireframes", "bodies", "--polygons", "Drilling/domains", "--metres"};
  const auto with_both = [&](strings words) {
    words.insert(words.begin(), {"Holes", "Drilling", "collars"});
    words.insert(words.end(), beside.begin(), beside.end());
    return drawn(words);
  };
  const std::string map = with_both({});
  expect_texts(map, {"Body", "South", "North (-154.8384 – 497.7384 m)", "50 samples"});
  EXPECT_EQ(count(map, "<circle"), 50U);
  const std::string section =
      with_both({"--section", "700900,127750,701400,127750", "--width", "1", "--exaggeration", "1"});
  expect_texts(section, {"Body", "South",
                         "0 samples in a corridor of 1 m; from 700900, 127750 to 701400, "
                         "127750 m, azimuth 90°"});
  EXPECT_EQ(count(section, "stroke=\"#009100\""), 2U);  // the cut, and the legend
  EXPECT_EQ(count(section, ">All</text>"), 1U);
  EXPECT_NE(complaint({"plot", "Holes", "Drilling", "bodies", "--section", "0,0,1,1", "-o", path("b.svg")})
                .find("the section cuts nothing"),
            std::string::npos);
  EXPECT_NE(complaint({"plot", "Holes", "Drilling", "collars", "--wireframes", "domain", "-o", path("b.svg")})
                .find("did you mean \"domains\"?"),
            std::string::npos);
  EXPECT_NE(complaint({"plot", "Holes", "Drilling", "cores", "--faults", "domains", "-o", path("b.svg")})
                .find("Holes/Drilling/domains: domains is not a faulted file"),
            std::string::npos);
}

TEST_F(pictures, of_a_grid_by_levels_and_in_section) {
  // The cube counts its nodes: z fastest, then y. Its level 2 of 4 holds 2, 6, 10, 14, 18 and 22, each a
  // colour.
  const std::string level = drawn({"Archive", "Old data", "cube", "number", "--palette", "System grey"});
  expect_texts(level, {"2 × 3 × 4 nodes, level 2; 6 nodes drawn"});
  const std::string cell = "Z\" fill=\"#", hard = "\" shape-rendering=\"crispEdges\"";
  const std::string map = level.substr(level.find("<clipPath"), level.find("</g>") - level.find("<clipPath"));
  EXPECT_EQ(count(map, cell), 6U);
  std::set<std::string> colours;
  for (auto at = map.find(hard); at != std::string::npos; at = map.find(hard, at + 1))
    colours.insert(map.substr(at - 7, 7));
  EXPECT_EQ(colours.size(), 6U);
  expect_texts(drawn({"Archive", "Old data", "cube", "number", "--level", "4"}),
               {"2 × 3 × 4 nodes, level 4; 6 nodes drawn"});
  // Along x at the first y: all 8 nodes of that wall.
  expect_texts(
      drawn({"Archive", "Old data", "cube", "number", "--section", "0,2,3,2", "--exaggeration", "1"}),
      {"8 nodes cut; from 0, 2 to 3, 2 m, azimuth 90°", "along the section (m)", "Z (m)"});
  EXPECT_NE(complaint({"plot", "Archive", "Old data", "cube", "number", "--level", "5", "-o", path("b.svg")})
                .find("no level 5: the grid has 4"),
            std::string::npos);
}

TEST_F(pictures, of_sections_logs_and_statistics) {
  const strings cores = {"Holes", "Drilling", "cores"};
  const auto of_cores = [&](strings behind) {
    behind.insert(behind.begin(), cores.begin(), cores.end());
    return drawn(behind);
  };
  expect_texts(of_cores({"Cu", "--section", "2300000,418500,2302800,420000", "--width", "400"}),
               {"11 lines in a corridor of 400 ft; from 2300000, 418500 to 2302800, 420000 ft, azimuth 62°",
                "B1-133", "Z (ft)"});
  // B1-105 begins with 884 ft that nobody assayed.
  const std::string log = of_cores({"Cu", "--line", "B1-105", "--palette", "Grades"});
  expect_texts(log, {"Holes / Drilling / cores: line B1-105, Cu (%)", "91 samples, 6 missing",
                     "depth along the line (ft)"});
  expect_texts(of_cores({"Cu", "Ni", "--line", "1"}), {"Cu (%)", "Ni (%)"});
  const std::string histogram = of_cores({"Cu", "--histogram"});
  expect_texts(histogram, {"minimum 0.01", "median 0.4", "maximum 24.4", "mean 0.5858", "samples"});
  const std::string scatter = of_cores({"Cu", "--against", "Fe"});
  expect_texts(scatter, {"Holes / Drilling / cores: Fe (%) against Cu (%)"});
  EXPECT_EQ(count(scatter, "<circle"), 24U);
}

TEST_F(pictures, of_the_colours_of_a_study) {
  expect_texts(drawn({"Holes", "--palettes"}), {"Grades", "Empty", "Full", "256 colours", "0 colours"});
  expect_texts(drawn({"Holes", "--palettes", "--palette", "Grades"}), {"1 palette", "8 colours"});
  expect_texts(drawn({"Holes", "--scales"}),
               {"Copper auto", "manual, 5 classes, palette Grades", "0.8", "Barren", "facies, 3 classes"});
}

TEST_F(pictures, are_the_same_each_time_in_every_format) {
  const strings what = {"Holes", "Drilling", "cores", "Cu", "--size", "400x300", "--dpi", "90"};
  std::map<std::string, std::string> bytes;
  for (const std::string name : {"a.svg", "a.png", "a.pdf"}) {
    bytes[name] = drawn(what, name);
    EXPECT_TRUE(bytes[name] == drawn(what, name)) << name;
  }
  EXPECT_TRUE(bytes["a.pdf"].starts_with("%PDF-"));
  EXPECT_EQ(count(bytes["a.pdf"], "/CreationDate (20000101000000Z)"), 1U);
  // The header of a PNG tells 500 times 375 dots.
  EXPECT_EQ(bytes["a.png"].substr(0, 24),
            std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x01\xf4\0\0\x01\x77", 24));
}

TEST_F(pictures, are_refused_with_a_reason) {
  const auto refused = [&](const strings& arguments, const std::string& why, int status = 1) {
    strings all = {"plot"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    if (std::find(all.begin(), all.end(), "-o") == all.end()) all.insert(all.end(), {"-o", path("b.svg")});
    const std::string said = complaint(all, {}, status);
    EXPECT_NE(said.find(why), std::string::npos) << said;
  };
  refused({"Holes", "Drilling", "cores", "Cuu"}, "did you mean \"Cu\"?");
  refused({"Holes", "Drilling", "cores", "hole"}, "\"hole\" holds texts");
  refused({"Holes", "Drilling", "cores", "Cu", "--scale", "Copper manua"}, "did you mean \"Copper manual\"?");
  refused({"Holes", "Drilling", "cores", "Cu", "--palette", "Empty"}, "has no colours");
  refused({"Holes", "Drilling", "cores", "Cu", "--selection", "Ni"}, "is no selection");
  refused({"Holes", "Drilling", "cores", "Fe", "--line", "B1-105"}, "all values of \"Fe\" are missing");
  refused({"Holes", "Drilling", "cores", "Cu", "--line", "B1-10"}, "there is no line B1-10");
  refused({"Holes", "Drilling", "cores", "Cu", "Ni"}, "only a strip log shows several");
  refused({"Holes", "Drilling", "cores", "--histogram"}, "needs a variable");
  refused({"Holes", "Drilling", "cores", "--section", "0,0,1,1"}, "no line lies in the corridor");
  refused({"Holes", "Drilling"}, "give STUDY DIRECTORY FILE", 2);
  refused({"Holes/Drilling", "--scales"}, "name nothing but it", 2);
  refused({"Archive", "--palettes", "--palette", "Grey"}, "Grey");
  refused({"Holes", "Drilling", "cores", "-o", path("b.gif")}, "ends with .svg, .png or .pdf", 2);
  refused({"Holes", "Drilling", "cores", "--section", "1,2,3"}, "x0,y0,x1,y1", 2);
  refused({"Holes", "Drilling", "cores", "--size", "10x10"}, "400x300 to 5000x5000", 2);
  refused({"Holes", "Drilling", "cores", "Cu", "--histogram", "--line", "1"}, "excludes", 2);
  EXPECT_FALSE(std::filesystem::exists(path("b.svg")));
  refused({"Holes", "Drilling", "collars", "-o", path("big.png"), "--size", "5000x5000", "--dpi", "1200"},
          "too large");

  write_file(path("kept.svg"), "mine");
  refused({"Holes", "Drilling", "collars", "-o", path("kept.svg")}, "--force");
  EXPECT_EQ(read_file(path("kept.svg")), "mine");
  // Nothing half made is left beside it.
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(path("")).parent_path()))
    files += entry.is_regular_file() ? 1 : 0;
  EXPECT_EQ(files, 2U);  // with that of the set-up
}

}  // namespace
}  // namespace qrd::test
