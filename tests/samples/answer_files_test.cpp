// The requests that make and extend points, grid and lines files, served in this process.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "requests/context.h"
#include "support/file_size_limit.h"
#include "support/requests.h"
#include "support/sample_study.h"

namespace qrd::test {
namespace {

namespace fs = std::filesystem;

class file_requests : public requests {
 protected:
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
  static std::string doubles(const std::vector<double>& values) {
    bytes content;
    for (double value : values) content.f64(value);
    for (std::size_t i = values.size(); i < 512; ++i) content.i64(0x7FE5F98E6BDA7FBC);
    return content.str();
  }
  // Everything behind the name of a file descriptor.
  static std::string file_fields(int organisation, int dimension, int lines, std::int64_t samples,
                                 const std::string& link = "") {
    bytes content;
    content.i32(organisation, dimension, lines);
    for (int i = 0; i < 6; ++i) content.f64(0.0);
    // A 2D file reads with one node along Z, and its growth writes what was read.
    content.i32(0, 0, dimension == 2 && samples > 0 ? 1 : 0);
    for (int i = 0; i < 3; ++i) content.f64(0.0);
    return content.text(link).i64(samples, (samples + 511) / 512 * 512).str();
  }
  std::string descriptor(int file) const {
    return read_file(path("FILE." + std::to_string(file) + "/DESCR"));
  }
  static std::string descriptor_of(const std::string& name, const std::string& fields) {
    return bytes().i32(1100).text(name).raw(fields).str();
  }
  static bytes points(const std::string& name, int dimension, const std::vector<double>& values) {
    bytes arguments;
    arguments.text(name).i64(static_cast<std::int64_t>(values.size()) / dimension).i32(dimension);
    for (double value : values) arguments.f64(value);
    return arguments;
  }
  static bytes line(int dimension, const std::vector<double>& values) {
    bytes arguments;
    arguments.i32(static_cast<int>(values.size()) / dimension, dimension);
    for (double value : values) arguments.f64(value);
    return arguments;
  }
  void make_lines(int dimension) {
    expect_done("CLFILENEW", bytes().text("Holes").i32(dimension));
    set_current_file("Holes");
  }

  sample_study study;
};

TEST_F(file_requests, a_points_file_holds_its_coordinates_in_centimetres) {
  expect_done("CPFILENEW", points("Collars", 3, {1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(descriptor(2), descriptor_of("Collars", file_fields(1, 3, 0, 2)));
  EXPECT_EQ(data(2, 1), "") << "sample numbers are computed";
  EXPECT_EQ(data(2, 2), doubles({100, 200}));
  EXPECT_EQ(data(2, 3), doubles({300, 400}));
  EXPECT_EQ(data(2, 4), doubles({500, 600}));
  EXPECT_EQ(read_file(path("FILE.2/VARI.4/DESCR")),
            (variable_fields{.name = "Z+ Gravity Center", .kind = 9, .unit = "m", .factor = 100, .digits = 2}
                 .bytes_of()));
  set_current_file("Collars");
  bytes more = bytes().i64(1).i32(3).f64(7, 8, 9);
  expect_done("CPFILEAPP", more);
  EXPECT_EQ(data(2, 3), doubles({300, 400, 800}));
  EXPECT_EQ(descriptor(2), descriptor_of("Collars", file_fields(1, 3, 0, 3)));
}

TEST_F(file_requests, refused_points_leave_nothing_behind) {
  const double missing = missing_double;
  expect_refused("CPFILENEW", points("P", 2, {1, 2, 3, missing}),
                 "There should not be any test value in the coordinates");
  expect_refused("CPFILENEW", points("P", 1, {1}), "Unknown file dimension (1) for file");
  expect_refused("CPFILENEW", points("P", 4, {1, 2, 3, 4}), "Unknown file dimension (4) for file");
  expect_refused("CPFILENEW", points("File", 2, {1, 2}), "File Study: Dir/File already exists");
  for (std::int64_t count : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN})
    expect_refused("CPFILENEW", bytes().text("P").i64(count).i32(2),
                   "Cannot add " + std::to_string(count) + " samples to file Study: Dir/P");
  expect_refused("CPFILENEW", points("a[b", 2, {1, 2}), "Cannot create file Study: Dir/a[b");
  expect_refused("CPFILENEW", bytes().text("None").i64(0).i32(2), "Cannot create file Study: Dir/None");
  EXPECT_FALSE(exists("FILE.2"));
}

TEST_F(file_requests, points_that_the_disk_cannot_hold_leave_nothing_behind) {
  const std::vector<double> many(1800, 1.0);
  {
    file_size_limit disk(6000);
    expect_refused("CPFILENEW", points("P", 3, many), "Cannot add 600 samples to file Study: Dir/P");
  }
  EXPECT_FALSE(exists("FILE.2"));
  expect_done("CPFILENEW", points("P", 3, many));
}

// A file that others see without its samples would be read as one without.
TEST_F(file_requests, new_files_appear_with_all_they_hold) {
  std::atomic<bool> ended = false;
  std::atomic<int> half = 0, whole = 0;
  std::thread reader([&] {
    while (!ended) {
      for (const char* name : {"FILE.2", "FILE.3"}) {
        // The folder itself, wherever it is moved meanwhile.
        const int folder = open(path(name).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (folder < 0) continue;
        const fs::path file = "/proc/self/fd/" + std::to_string(folder);
        const bool has_lines = fs::exists(file / "LINE");
        const fs::path y_data = file / (has_lines ? "VARI.5/DATAVAR" : "VARI.3/DATAVAR");
        std::error_code absent;
        const bool complete = fs::file_size(y_data, absent) == (has_lines ? 0 : 1536 * 8) && !absent;
        ++(complete ? whole : half);
        close(folder);
      }
    }
  });
  const std::vector<double> many(2 * 1030, 1.0);
  for (int round = 0; round < 30; ++round) {
    expect_done("CPFILENEW", points("P", 2, many));
    expect_done("CLFILENEW", bytes().text("L").i32(2));
    // Out of the way in one step; what the reader may look into stays.
    for (const char* name : {"FILE.2", "FILE.3"})
      fs::rename(path(name), study / (name + std::to_string(round)));
  }
  ended = true;
  reader.join();
  EXPECT_EQ(half, 0);
  EXPECT_GT(whole, 0);
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
  expect_done("CGFILENEW", bytes().text("G").i32(2).f64(0, 1).i32(2).f64(0, 1).i32(2));
  set_current_file("G");
  expect_refused("CPFILEAPP", one, "Cannot add 1 samples to file Study: Dir/G");
  // A file that has lost a coordinate doesn't grow.
  set_current_file("P");
  fs::remove_all(path("FILE.2/VARI.3"));
  expect_refused("CPFILEAPP", one, "Error selecting variable Study: Dir/P/Y+ Gravity Center");
  EXPECT_EQ(descriptor(2), descriptor_of("P", file_fields(1, 2, 0, 1)));
}

std::string grid_fields(int dimension, const std::vector<double>& lengths, const std::vector<int>& nodes,
                        const std::vector<double>& angles, std::int64_t samples) {
  bytes content;
  content.i32(5, dimension, 0);
  for (double length : lengths) content.f64(length);
  for (int count : nodes) content.i32(count);
  for (double angle : angles) content.f64(angle);
  return content.text("").i64(samples, (samples + 511) / 512 * 512).str();
}

TEST_F(file_requests, a_grid_is_made_in_the_units_of_the_axes) {
  units.axis_y.factor = 30.48;
  expect_done("CGFILENEW", bytes().text("G").i32(2).f64(10, 1).i32(3).f64(20, 2).i32(2));
  EXPECT_EQ(descriptor(2), descriptor_of("G", grid_fields(2, {1000, 20 * 30.48, 0, 100, 2 * 30.48, 0},
                                                          {3, 2, 1}, {0, 0, 0}, 6)));
  expect_done("CGFILENEW", bytes().text("H").i32(3).f64(1, 1).i32(2).f64(1, 1).i32(300).f64(2, 3).i32(1));
  EXPECT_EQ(descriptor(3), descriptor_of("H", grid_fields(3, {100, 30.48, 200, 100, 30.48, 300}, {2, 300, 1},
                                                          {0, 0, 0}, 600)));
  EXPECT_TRUE(exists("FILE.3/VARI.7"));
  EXPECT_FALSE(exists("FILE.3/VARI.8"));
  EXPECT_EQ(data(3, 7), "");

  auto grid = [](const char* name, int nx, int ny) {
    return bytes().text(name).i32(2).f64(0, 1).i32(nx).f64(0, 1).i32(ny);
  };
  expect_refused("CGFILENEW", grid("G", 2, 2), "File Study: Dir/G already exists");
  expect_refused("CGFILENEW", grid("I", 0, 2), "Cannot create grid file Study: Dir/I");
  expect_refused("CGFILENEW", grid("I", 2, -5), "Cannot create grid file Study: Dir/I");
  expect_refused(
      "CGFILENEW",
      bytes().text("I").i32(3).f64(0, 1).i32(INT32_MAX).f64(0, 1).i32(INT32_MAX).f64(0, 1).i32(INT32_MAX),
      "Cannot create grid file Study: Dir/I");
  EXPECT_FALSE(exists("FILE.4"));
}

TEST_F(file_requests, origin_mesh_and_rotation_of_a_grid_change) {
  expect_done("CGFILENEW", bytes().text("G").i32(2).f64(10, 1).i32(3).f64(20, 2).i32(2));
  expect_done("CGFILENEW", bytes().text("H").i32(3).f64(1, 1).i32(2).f64(1, 1).i32(2).f64(2, 3).i32(1));
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
  EXPECT_EQ(descriptor(2),
            descriptor_of("G", grid_fields(2, {50, 60, 0, 100, 200, 0}, {3, 2, 1}, {0, 0, 0}, 6)));
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
  EXPECT_EQ(descriptor(2),
            descriptor_of("G", grid_fields(2, {50, 60, 0, 100, 200, 0}, {3, 2, 1}, {5, 0, 0}, 6)));

  set_current_file("H");
  current_context.unit_mode = 1;
  expect_done("GRIDMODM", three);
  expect_done("GRIDMODR", three);
  EXPECT_EQ(descriptor(3),
            descriptor_of("H", grid_fields(3, {100, 100, 200, 500, 600, 700}, {2, 2, 1}, {5, 6, 7}, 4)));
  // The client is told the lengths of a study without units as they are stored, and sends them so.
  units.kept = false;
  expect_done("GRIDMODO", three);
  EXPECT_EQ(descriptor(3),
            descriptor_of("H", grid_fields(3, {5, 6, 7, 500, 600, 700}, {2, 2, 1}, {5, 6, 7}, 4)));
  fs::remove_all(path("FILE.3/VARI.5"));
  expect_refused("GRIDMODM", three, "Cannot get coords formats");
}

TEST_F(file_requests, each_append_to_a_lines_file_is_a_line) {
  make_lines(2);
  EXPECT_EQ(table(2), bytes().i64(1).str());
  EXPECT_EQ(client_.ask("CLFILECNT"), bytes().text("SLFILECNT").i32(0).str());
  expect_done("CLFILEAPP", line(2, {1, 2, 3, 10, 20, 30}));
  expect_done("CLFILEAPP", line(2, {4, 5, 40, 50}));
  EXPECT_EQ(table(2), bytes().i64(1, 4, 6).str());
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 2, 5)));
  EXPECT_EQ(data(2, 4), doubles({100, 200, 300, 400, 500}));
  EXPECT_EQ(data(2, 5), doubles({1000, 2000, 3000, 4000, 5000}));
  EXPECT_EQ(client_.ask("CLFILECNT"), bytes().text("SLFILECNT").i32(2, 3, 2).str());
}

TEST_F(file_requests, cores_are_segments_from_end_to_end) {
  make_lines(2);
  expect_done("CLFILEAPC", bytes().i32(2, 2).f64(0, 0, 0, 0, 10, 30));
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(3, 2, 1, 2)));
  EXPECT_EQ(data(2, 5), doubles({500, 2000})) << "centres";
  EXPECT_EQ(data(2, 7), doubles({0, 1000})) << "begins";
  EXPECT_EQ(data(2, 8), doubles({0, 0}));
  EXPECT_EQ(data(2, 9), doubles({1000, 3000})) << "ends";
  expect_done("CLFILEAPC", bytes().i32(1, 2).f64(1, 2, 3, 4));
  EXPECT_EQ(data(2, 7), doubles({0, 1000, 200}));
  EXPECT_EQ(data(2, 5), doubles({500, 2000, 300}));
  expect_refused("CLFILEAPP", line(2, {1, 2}), "Current file is not a lines file");
  EXPECT_EQ(table(2), bytes().i64(1, 3, 4).str());
}

TEST_F(file_requests, cores_in_3d) {
  make_lines(3);
  expect_done("CLFILEAPC", bytes().i32(1, 3).f64(1, 2, 3, 5, 6, 9));
  EXPECT_EQ(data(2, 6), doubles({600})) << "Z centre";
  EXPECT_EQ(data(2, 9), doubles({300})) << "Z begin";
  EXPECT_EQ(data(2, 12), doubles({900})) << "Z end";
}

TEST_F(file_requests, refused_lines_change_nothing) {
  const bytes segment = bytes().i32(1, 2).f64(0, 0, 1, 2);
  set_current_file("Gone");
  expect_refused("CLFILEAPP", line(2, {1, 2}), "Cannot get file info");
  set_current_file("File");
  expect_refused("CLFILEAPP", line(2, {1, 2}), "Current file is not a lines file");
  expect_refused("CLFILEAPC", segment, "Current file is not a lines file");
  expect_refused("CLFILECNT", {}, "Current file is not a lines file");
  expect_refused("CLFILENEW", bytes().text("Holes").i32(1), "Unknown file dimension (1) for file");
  expect_refused("CLFILENEW", bytes().text("File").i32(2), "File Study: Dir/File already exists");
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
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 0, 0)));
  EXPECT_FALSE(exists("FILE.2/VARI.6"));
}

TEST_F(file_requests, a_gravity_file_with_samples_has_no_segments) {
  make_lines(2);
  expect_done("CLFILEAPP", line(2, {1, 2}));
  expect_refused("CLFILEAPC", bytes().i32(1, 2).f64(0, 0, 1, 2),
                 "Cannot retrieve coordinate 3 variable name in fileDir/Holes");
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 1, 1)));
  expect_done("CLFILEAPP", line(2, {3, 4}));
}

TEST_F(file_requests, a_failed_change_to_cores_takes_its_variables_away) {
  make_lines(2);
  expect_done("CVARCNEW", bytes().text("YE+ End of Sample").i32(4));
  expect_refused("CLFILEAPC", bytes().i32(1, 2).f64(0, 0, 1, 2),
                 "Error creating variable Study: Dir/Holes/YE+ End of Sample");
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 0, 0)));
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
  expect_refused("CLFILELNK", bytes().text("Gone"), "Line File Study: Dir/Gone does not exist");
  expect_refused("CLFILELNK", bytes().text("Holes"), "Linked file should be a points file Study: Dir/Holes");
  expect_refused("CLFILELNK", bytes().text("Two"),
                 "Cannot link this Lines file (1 lines) with this 2 samples Points file");
  set_current_file("P");
  expect_refused("CLFILELNK", bytes().text("File"),
                 "Cannot link this Lines file (0 lines) with this 0 samples Points file");
  set_current_file("Holes");
  expect_done("CLFILELNK", bytes().text("P"));
  expect_done("CLFILELNK", bytes().text("Q"));
  EXPECT_EQ(descriptor(3), descriptor_of("P", file_fields(1, 2, 0, 1)));
  EXPECT_EQ(descriptor(4), descriptor_of("Q", file_fields(1, 2, 0, 1, "Holes")));
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 1, 1, "Q")));
}

// A lines file "Holes" of one line that is linked to "Collars", whose variable "Name" names the line.
class linked_files : public file_requests {
 protected:
  linked_files() {
    make_lines(2);
    expect_done("CLFILEAPP", line(2, {1, 2}));
    expect_done("CPFILENEW", points("Collars", 2, {1, 2}));
    expect_done("CLFILELNK", bytes().text("Collars"));
    set_current_file("Collars");
    expect_done("CVARCNEW", bytes().text("Name").i32(2));
    write_file(path("FILE.3/VARI.4/DATAVAR"), "a1" + std::string(1022, ' '));
    set_current_variable("Name");
    expect_done("CVARLNAME", {});
    expect_link(true);
  }
  void expect_link(bool linked) {
    std::string name_fields = read_file(path("FILE.3/VARI.4/DESCR")).substr(12, 8);
    EXPECT_EQ(name_fields, bytes().i32(VAR_CHAR, linked ? KIND_LINE_NAME : KIND_PLAIN).str());
    for (auto [file, partner] : {std::pair{2, "Collars"}, std::pair{3, "Holes"}})
      EXPECT_EQ(descriptor(file).find(bytes().text(partner).str(), 8) != std::string::npos, linked) << file;
  }
};

TEST_F(linked_files, points_end_the_link) {
  expect_done("CPFILEAPP", bytes().i64(1).i32(2).f64(0, 0));
  expect_link(false);
}

TEST_F(linked_files, a_line_ends_the_link) {
  set_current_file("Holes");
  expect_done("CLFILEAPP", line(2, {1, 2}));
  expect_link(false);
}

TEST_F(linked_files, a_refused_append_keeps_the_link) {
  expect_answer("CPFILEAPP", bytes().i64(0).i32(2),
                bytes().raw(refusal("Cannot add 0 samples to file Study: Dir/Collars")));
  set_current_file("Holes");
  expect_answer("CLFILEAPP", bytes().i32(0, 2),
                bytes().raw(refusal("Cannot append 0 samples to file. No space left ?")));
  expect_link(true);
}

TEST_F(file_requests, line_names_are_refused_in_order) {
  make_lines(2);
  expect_done("CLFILEAPP", line(2, {1, 2}));
  set_current_variable("X+ Gravity Center");
  expect_refused("CVARLNAME", {}, "Not a valid Velmar Points file: Study: Dir/Holes");
  expect_done("CPFILENEW", points("P", 2, {1, 2}));
  set_current_file("P");
  set_current_variable("X+ Gravity Center");
  expect_refused("CVARLNAME", {}, "Points file is not linked to a Lines File: Study: Dir/P");
  set_current_file("Holes");
  expect_done("CLFILELNK", bytes().text("P"));
  set_current_file("P");
  set_current_variable("Gone");
  expect_refused("CVARLNAME", {}, "Not a valid Velmar variable: Study: Dir/P/Gone");
  set_current_variable("X+ Gravity Center");
  expect_refused("CVARLNAME", {}, "Variable is not an Alphanumerical one: Study: Dir/P/X+ Gravity Center");
  expect_done("CVARCNEW", bytes().text("Name").i32(4));
  set_current_variable("Name");
  expect_refused("CVARLNAME", {}, "Error while modifying Variable into a line name: Study: Dir/P/Name");
}

}  // namespace
}  // namespace qrd::test
