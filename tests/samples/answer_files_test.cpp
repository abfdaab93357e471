// The requests that make and extend points, grid and lines files, served in this process.
#include "support/requests.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

struct file_requests : requests {
  file_requests() : study({.samples = 0, .dimension = 2}) {
    set_current_study("Study");
    set_current_directory("Dir");
  }
  std::string path(const std::string& name) const { return study / ("QRD/DIRE.1/" + name); }
  bool exists(const std::string& name) const { return fs::exists(path(name)); }
  std::string data(int file, int variable) const {
    return read_file(path("FILE." + std::to_string(file) + "/VARI." + std::to_string(variable) + "/DATAVAR"));
  }
  std::string table(int file) const { return read_file(path("FILE." + std::to_string(file) + "/LINE")); }
  // A data file of doubles, filled up to one block.
  void expect_data(int file, int variable, const std::vector<double>& values) {
    bytes content = bytes().f64(values);
    for (std::size_t i = values.size(); i < 512; ++i) content.i64(0x7FE5F98E6BDA7FBC);
    EXPECT_EQ(data(file, variable), content) << variable;
  }
  std::string descriptor(int file) const {
    return read_file(path("FILE." + std::to_string(file) + "/DESCR"));
  }
  void expect_file(int file, const std::string& name, int organisation, int dimension, int lines,
                   std::int64_t samples, const std::string& link = "") {
    // A 2D file reads with one node along Z, and its growth writes what was read.
    const std::vector<int> nodes = {0, 0, dimension == 2 && samples > 0 ? 1 : 0};
    EXPECT_EQ(descriptor(file), (file_fields{name,
                                             organisation,
                                             dimension,
                                             lines,
                                             std::vector<double>(6),
                                             nodes,
                                             {0, 0, 0},
                                             link,
                                             samples,
                                             (samples + 511) / 512 * 512}
                                     .bytes_of()));
  }
  void expect_grid(int file, const std::string& name, int dimension, const std::vector<double>& lengths,
                   const std::vector<int>& nodes, const std::vector<double>& angles, std::int64_t samples) {
    EXPECT_EQ(descriptor(file), (file_fields{name, 5, dimension, 0, lengths, nodes, angles, "", samples,
                                             (samples + 511) / 512 * 512}
                                     .bytes_of()));
  }
  static bytes points(const std::string& name, int dimension, const std::vector<double>& values) {
    return bytes(name).i64(static_cast<std::int64_t>(values.size()) / dimension).i32(dimension).f64(values);
  }
  static bytes line(int dimension, const std::vector<double>& values) {
    return bytes().i32(static_cast<int>(values.size()) / dimension, dimension).f64(values);
  }
  void make_lines(int dimension) {
    expect_done("CLFILENEW", bytes("Holes").i32(dimension));
    set_current_file("Holes");
  }

  sample_study study;
};

TEST_F(file_requests, a_points_file_holds_its_coordinates_in_centimetres) {
  expect_done("CPFILENEW", points("Collars", 3, {1, 2, 3, 4, 5, 6}));
  expect_file(2, "Collars", 1, 3, 0, 2);
  EXPECT_EQ(data(2, 1), "") << "sample numbers are computed";
  expect_data(2, 2, {100, 200});
  expect_data(2, 3, {300, 400});
  expect_data(2, 4, {500, 600});
  EXPECT_EQ(read_file(path("FILE.2/VARI.4/DESCR")),
            (variable_fields{.name = "Z+ Gravity Center", .kind = 9, .unit = "m", .factor = 100, .digits = 2}
                 .bytes_of()));
  set_current_file("Collars");
  expect_done("CPFILEAPP", bytes().i64(1).i32(3).f64(7, 8, 9));
  expect_data(2, 3, {300, 400, 800});
  expect_file(2, "Collars", 1, 3, 0, 3);
}

TEST_F(file_requests, refused_points_leave_nothing_behind) {
  expect_refused("CPFILENEW", points("P", 2, {1, 2, 3, missing_double}),
                 "There should not be any test value in the coordinates");
  expect_refused("CPFILENEW", points("P", 1, {1}), "Unknown file dimension (1) for file");
  expect_refused("CPFILENEW", points("P", 4, {1, 2, 3, 4}), "Unknown file dimension (4) for file");
  expect_refused("CPFILENEW", points("File", 2, {1, 2}), "File Study: Dir/File already exists");
  for (std::int64_t count : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN})
    expect_refused("CPFILENEW", bytes("P").i64(count).i32(2),
                   "Cannot add " + std::to_string(count) + " samples to file Study: Dir/P");
  expect_refused("CPFILENEW", points("a[b", 2, {1, 2}), "Cannot create file Study: Dir/a[b");
  expect_refused("CPFILENEW", bytes("None").i64(0).i32(2), "Cannot create file Study: Dir/None");
  EXPECT_FALSE(exists("FILE.2"));
  // Nor do those that the disk can't hold.
  const std::vector<double> many(1800, 1.0);
  {
    file_size_limit disk(6000);
    expect_refused("CPFILENEW", points("P", 3, many), "Cannot add 600 samples to file Study: Dir/P");
  }
  EXPECT_FALSE(exists("FILE.2"));
  expect_done("CPFILENEW", points("P", 3, many));
}

TEST_F(file_requests, points_are_added_only_where_they_fit) {
  bytes one = bytes().i64(1).i32(2).f64(1, 2);
  set_current_file("Gone");
  expect_refused("CPFILEAPP", one, "Cannot get file info");
  expect_done("CPFILENEW", points("P", 2, {1, 2}));
  set_current_file("P");
  expect_refused("CPFILEAPP", bytes().i64(1).i32(2).f64(1).i64(0x7FE5F98E6BDA7FBC),
                 "There should not be any test value in the coordinates");
  expect_refused("CPFILEAPP", bytes().i64(1).i32(3).f64(1, 2, 3),
                 "Current file is not 3D. Cannot append data.");
  expect_refused("CPFILEAPP", bytes().i64(0).i32(2), "Cannot add 0 samples to file Study: Dir/P");
  expect_done("CGFILENEW", bytes("G").i32(2).f64(0, 1).i32(2).f64(0, 1).i32(2));
  set_current_file("G");
  expect_refused("CPFILEAPP", one, "Cannot add 1 samples to file Study: Dir/G");
  // A file that has lost a coordinate doesn't grow.
  set_current_file("P");
  fs::remove_all(path("FILE.2/VARI.3"));
  expect_refused("CPFILEAPP", one, "Error selecting variable Study: Dir/P/Y+ Gravity Center");
  expect_file(2, "P", 1, 2, 0, 1);
}

TEST_F(file_requests, a_grid_is_made_in_the_units_of_the_axes) {
  units.axis_y.factor = 30.48;
  expect_done("CGFILENEW", bytes("G").i32(2).f64(10, 1).i32(3).f64(20, 2).i32(2));
  expect_grid(2, "G", 2, {1000, 20 * 30.48, 0, 100, 2 * 30.48, 0}, {3, 2, 1}, {0, 0, 0}, 6);
  expect_done("CGFILENEW", bytes("H").i32(3).f64(1, 1).i32(2).f64(1, 1).i32(300).f64(2, 3).i32(1));
  expect_grid(3, "H", 3, {100, 30.48, 200, 100, 30.48, 300}, {2, 300, 1}, {0, 0, 0}, 600);
  EXPECT_TRUE(exists("FILE.3/VARI.7"));
  EXPECT_FALSE(exists("FILE.3/VARI.8"));
  EXPECT_EQ(data(3, 7), "");

  auto grid = [](const char* name, int nx, int ny) {
    return bytes(name).i32(2).f64(0, 1).i32(nx).f64(0, 1).i32(ny);
  };
  expect_refused("CGFILENEW", grid("G", 2, 2), "File Study: Dir/G already exists");
  bytes huge = bytes("I").i32(3);
  for (int axis = 0; axis < 3; ++axis) huge.f64(0, 1).i32(INT32_MAX);
  for (const bytes& wrong : {grid("I", 0, 2), grid("I", 2, -5), huge})
    expect_refused("CGFILENEW", wrong, "Cannot create grid file Study: Dir/I");
  EXPECT_FALSE(exists("FILE.4"));
}

TEST_F(file_requests, origin_mesh_and_rotation_of_a_grid_change) {
  expect_done("CGFILENEW", bytes("G").i32(2).f64(10, 1).i32(3).f64(20, 2).i32(2));
  expect_done("CGFILENEW", bytes("H").i32(3).f64(1, 1).i32(2).f64(1, 1).i32(2).f64(2, 3).i32(1));
  const bytes three = bytes().f64(5, 6, 7);
  set_current_directory("None");
  expect_refused("GRIDMODO", three, "Directory is not set");
  set_current_directory("Dir");
  expect_refused("GRIDMODM", three, "File is not set");
  set_current_file("Gone");
  expect_refused("GRIDMODR", three, "Cannot get file info");
  set_current_file("File");
  expect_refused("GRIDMODO", three, "Current file is not a grid");

  units.distance.factor = 10.0;
  set_current_file("G");
  for (const char* derived : {"FILE.2/RPD", "FILE.2/PTD"}) write_file(path(derived), "computed");
  expect_done("GRIDMODO", three);
  expect_grid(2, "G", 2, {50, 60, 0, 100, 200, 0}, {3, 2, 1}, {0, 0, 0}, 6);
  EXPECT_FALSE(exists("FILE.2/RPD"));
  const std::string before = descriptor(2);
  write_file(path("FILE.2/PTD"), "computed");
  {
    file_size_limit full(100);
    for (const char* request : {"GRIDMODO", "GRIDMODM", "GRIDMODR"})
      expect_refused(request, three, "Impossible to write the file_descriptor");
  }
  EXPECT_EQ(descriptor(2), before);
  EXPECT_EQ(read_file(path("FILE.2/PTD")), "computed");
  fs::remove(path("FILE.2/PTD"));
  EXPECT_FALSE(exists("FILE.2/PTD"));
  expect_done("GRIDMODR", three);
  expect_grid(2, "G", 2, {50, 60, 0, 100, 200, 0}, {3, 2, 1}, {5, 0, 0}, 6);

  set_current_file("H");
  current_context.unit_mode = 1;
  expect_done("GRIDMODM", three);
  expect_done("GRIDMODR", three);
  expect_grid(3, "H", 3, {100, 100, 200, 500, 600, 700}, {2, 2, 1}, {5, 6, 7}, 4);
  // The client is told the lengths of a study without units as they are stored, and sends them so.
  units.kept = false;
  expect_done("GRIDMODO", three);
  expect_grid(3, "H", 3, {5, 6, 7, 500, 600, 700}, {2, 2, 1}, {5, 6, 7}, 4);
  fs::remove_all(path("FILE.3/VARI.5"));
  expect_refused("GRIDMODM", three, "Cannot get coords formats");
}

TEST_F(file_requests, each_append_to_a_lines_file_is_a_line) {
  make_lines(2);
  EXPECT_EQ(table(2), bytes().i64(1));
  expect_answer("CLFILECNT", {}, bytes("SLFILECNT").i32(0));
  expect_done("CLFILEAPP", line(2, {1, 2, 3, 10, 20, 30}));
  expect_done("CLFILEAPP", line(2, {4, 5, 40, 50}));
  EXPECT_EQ(table(2), bytes().i64(1, 4, 6));
  expect_file(2, "Holes", 2, 2, 2, 5);
  expect_data(2, 4, {100, 200, 300, 400, 500});
  expect_data(2, 5, {1000, 2000, 3000, 4000, 5000});
  expect_answer("CLFILECNT", {}, bytes("SLFILECNT").i32(2, 3, 2));
}

TEST_F(file_requests, cores_are_segments_from_end_to_end) {
  make_lines(2);
  expect_done("CLFILEAPC", bytes().i32(2, 2).f64(0, 0, 0, 0, 10, 30));
  expect_file(2, "Holes", 3, 2, 1, 2);
  expect_data(2, 5, {500, 2000});
  expect_data(2, 7, {0, 1000});
  expect_data(2, 8, {0, 0});
  expect_data(2, 9, {1000, 3000});
  expect_done("CLFILEAPC", bytes().i32(1, 2).f64(1, 2, 3, 4));
  expect_data(2, 7, {0, 1000, 200});
  expect_data(2, 5, {500, 2000, 300});
  expect_refused("CLFILEAPP", line(2, {1, 2}), "Current file is not a lines file");
  EXPECT_EQ(table(2), bytes().i64(1, 3, 4));
}

TEST_F(file_requests, cores_in_3d) {
  make_lines(3);
  expect_done("CLFILEAPC", bytes().i32(1, 3).f64(1, 2, 3, 5, 6, 9));
  expect_data(2, 6, {600});
  expect_data(2, 9, {300});
  expect_data(2, 12, {900});
}

TEST_F(file_requests, refused_lines_change_nothing) {
  const bytes segment = bytes().i32(1, 2).f64(0, 0, 1, 2);
  set_current_file("Gone");
  expect_refused("CLFILEAPP", line(2, {1, 2}), "Cannot get file info");
  set_current_file("File");
  expect_refused("CLFILEAPP", line(2, {1, 2}), "Current file is not a lines file");
  expect_refused("CLFILEAPC", segment, "Current file is not a lines file");
  expect_refused("CLFILECNT", {}, "Current file is not a lines file");
  expect_refused("CLFILENEW", bytes("Holes").i32(1), "Unknown file dimension (1) for file");
  expect_refused("CLFILENEW", bytes("File").i32(2), "File Study: Dir/File already exists");
  make_lines(2);
  expect_refused("CLFILEAPP", line(3, {1, 2, 3}),
                 "Current file dimension (2) doesn't match append information (3D)");
  expect_refused("CLFILEAPP", line(5, {1, 2, 3, 4, 5}),
                 "Current file dimension (2) doesn't match append information (5D)");
  for (int count : {0, -3}) {
    std::string text = "Cannot append " + std::to_string(count) + " samples to file. No space left ?";
    expect_refused("CLFILEAPP", bytes().i32(count, 2), text);
    expect_refused("CLFILEAPC", bytes().i32(count, 2).f64(0, 0), text);
  }
  expect_refused("CLFILEAPC", bytes().i32(1, 2).f64(0, 0, 1).i64(0x7FE5F98E6BDA7FBC),
                 "There should not be any test value in the coordinates");
  expect_file(2, "Holes", 2, 2, 0, 0);
  EXPECT_FALSE(exists("FILE.2/VARI.6"));
}

TEST_F(file_requests, a_gravity_file_with_samples_has_no_segments) {
  make_lines(2);
  expect_done("CLFILEAPP", line(2, {1, 2}));
  expect_refused("CLFILEAPC", bytes().i32(1, 2).f64(0, 0, 1, 2),
                 "Cannot retrieve coordinate 3 variable name in fileDir/Holes");
  expect_file(2, "Holes", 2, 2, 1, 1);
  expect_done("CLFILEAPP", line(2, {3, 4}));
}

TEST_F(file_requests, a_failed_change_to_cores_takes_its_variables_away) {
  make_lines(2);
  expect_done("CVARCNEW", bytes("YE+ End of Sample").i32(4));
  expect_refused("CLFILEAPC", bytes().i32(1, 2).f64(0, 0, 1, 2),
                 "Error creating variable Study: Dir/Holes/YE+ End of Sample");
  expect_file(2, "Holes", 2, 2, 0, 0);
  EXPECT_TRUE(exists("FILE.2/VARI.6"));
  for (const char* gone : {"FILE.2/VARI.7", "FILE.2/VARI.8", "FILE.2/VARI.9"})
    EXPECT_FALSE(exists(gone)) << gone;
}

TEST_F(file_requests, a_header_has_one_sample_per_line) {
  make_lines(2);
  expect_done("CLFILEAPP", line(2, {1, 2}));
  expect_done("CPFILENEW", points("P", 2, {1, 2}));
  expect_done("CPFILENEW", points("Q", 2, {1, 2}));
  expect_done("CPFILENEW", points("Two", 2, {1, 2, 3, 4}));
  expect_refused("CLFILELNK", "Gone", "Line File Study: Dir/Gone does not exist");
  expect_refused("CLFILELNK", "Holes", "Linked file should be a points file Study: Dir/Holes");
  expect_refused("CLFILELNK", "Two", "Cannot link this Lines file (1 lines) with this 2 samples Points file");
  set_current_file("P");
  expect_refused("CLFILELNK", "File",
                 "Cannot link this Lines file (0 lines) with this 0 samples Points file");
  set_current_file("Holes");
  expect_done("CLFILELNK", "P");
  expect_done("CLFILELNK", "Q");
  expect_file(3, "P", 1, 2, 0, 1);
  expect_file(4, "Q", 1, 2, 0, 1, "Holes");
  expect_file(2, "Holes", 2, 2, 1, 1, "Q");
}

// A lines file "Holes" of one line that is linked to "Collars", whose variable "Name" names the line.
struct linked_files : file_requests {
  linked_files() {
    make_lines(2);
    expect_done("CLFILEAPP", line(2, {1, 2}));
    expect_done("CPFILENEW", points("Collars", 2, {1, 2}));
    expect_done("CLFILELNK", "Collars");
    set_current_file("Collars");
    expect_done("CVARCNEW", bytes("Name").i32(2));
    write_file(path("FILE.3/VARI.4/DATAVAR"), "a1" + std::string(1022, ' '));
    set_current_variable("Name");
    expect_done("CVARLNAME", {});
    expect_link(true);
  }
  void expect_link(bool linked) {
    std::string name_fields = read_file(path("FILE.3/VARI.4/DESCR")).substr(12, 8);
    EXPECT_EQ(name_fields, bytes().i32(VAR_CHAR, linked ? KIND_LINE_NAME : KIND_PLAIN));
    for (auto [file, partner] : {std::pair{2, "Collars"}, std::pair{3, "Holes"}})
      EXPECT_EQ(descriptor(file).find(bytes(partner).str(), 8) != std::string::npos, linked) << file;
  }
};

TEST_F(linked_files, a_line_ends_the_link) {
  set_current_file("Holes");
  expect_done("CLFILEAPP", line(2, {1, 2}));
  expect_link(false);
}

TEST_F(linked_files, points_end_the_link_and_a_refused_append_does_not) {
  expect_refused("CPFILEAPP", bytes().i64(0).i32(2), "Cannot add 0 samples to file Study: Dir/Collars");
  set_current_file("Holes");
  expect_refused("CLFILEAPP", bytes().i32(0, 2), "Cannot append 0 samples to file. No space left ?");
  expect_link(true);
  set_current_file("Collars");
  expect_done("CPFILEAPP", bytes().i64(1).i32(2).f64(0, 0));
  expect_link(false);
}

TEST_F(file_requests, line_names_are_refused_in_order) {
  make_lines(2);
  expect_done("CLFILEAPP", line(2, {1, 2}));
  expect_done("CPFILENEW", points("P", 2, {1, 2}));
  const auto refused = [&](const char* file, const char* variable, const char* text) {
    set_current_file(file);
    set_current_variable(variable);
    expect_refused("CVARLNAME", {}, text);
  };
  refused("Holes", "X+ Gravity Center", "Not a valid Velmar Points file: Study: Dir/Holes");
  refused("P", "X+ Gravity Center", "Points file is not linked to a Lines File: Study: Dir/P");
  set_current_file("Holes");
  expect_done("CLFILELNK", "P");
  refused("P", "Gone", "Not a valid Velmar variable: Study: Dir/P/Gone");
  refused("P", "X+ Gravity Center", "Variable is not an Alphanumerical one: Study: Dir/P/X+ Gravity Center");
  expect_done("CVARCNEW", bytes("Name").i32(4));
  refused("P", "Name", "Error while modifying Variable into a line name: Study: Dir/P/Name");
}

}  // namespace
}  // namespace qrd::test
