// The requests that make and extend points, grid and lines files, served in this process.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "sample_study.h"
#include "server/context.h"
#include "support/file_size_limit.h"
#include "support/request_session.h"

namespace qrd::test {
namespace {

namespace fs = std::filesystem;

class file_requests : public testing::Test {
 protected:
  file_requests() : study({.samples = 0, .dimension = 2}) {
    unit_flag = 1;
    qu_formats_reset();
    set_current_study("Study");
    set_current_directory("Dir");
  }
  // A request and its whole answer.
  void expect(const std::string& answer, const char* request, const bytes& arguments) {
    EXPECT_EQ(session.ask(request, arguments.str()), answer) << request;
    EXPECT_EQ(session.status(), answer == done() ? 0 : -1) << request;
  }
  void expect_refusal(const std::string& text, const char* request, const bytes& arguments) {
    expect(refusal(text), request, arguments);
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
    expect(done(), "CLFILENEW", bytes().text("Holes").i32(dimension));
    set_current_file("Holes");
  }

  sample_study study;
  request_session session;
};

TEST_F(file_requests, a_points_file_holds_its_coordinates_in_centimetres) {
  expect(done(), "CPFILENEW", points("Collars", 3, {1, 2, 3, 4, 5, 6}));
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
  expect(done(), "CPFILEAPP", more);
  EXPECT_EQ(data(2, 3), doubles({300, 400, 800}));
  EXPECT_EQ(descriptor(2), descriptor_of("Collars", file_fields(1, 3, 0, 3)));
}

TEST_F(file_requests, refused_points_leave_nothing_behind) {
  const double missing = missing_double;
  expect_refusal("There should not be any test value in the coordinates", "CPFILENEW",
                 points("P", 2, {1, 2, 3, missing}));
  expect_refusal("Unknown file dimension (1) for file", "CPFILENEW", points("P", 1, {1}));
  expect_refusal("Unknown file dimension (4) for file", "CPFILENEW", points("P", 4, {1, 2, 3, 4}));
  expect_refusal("File Study: Dir/File already exists", "CPFILENEW", points("File", 2, {1, 2}));
  for (std::int64_t count : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN})
    expect_refusal("Cannot add " + std::to_string(count) + " samples to file Study: Dir/P", "CPFILENEW",
                   bytes().text("P").i64(count).i32(2));
  expect_refusal("Cannot create file Study: Dir/a[b", "CPFILENEW", points("a[b", 2, {1, 2}));
  expect_refusal("Cannot create file Study: Dir/None", "CPFILENEW", bytes().text("None").i64(0).i32(2));
  EXPECT_FALSE(exists("FILE.2"));
}

TEST_F(file_requests, points_that_the_disk_cannot_hold_leave_nothing_behind) {
  const std::vector<double> many(1800, 1.0);
  {
    file_size_limit disk(6000);
    expect_refusal("Cannot add 600 samples to file Study: Dir/P", "CPFILENEW", points("P", 3, many));
  }
  EXPECT_FALSE(exists("FILE.2"));
  expect(done(), "CPFILENEW", points("P", 3, many));
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
    expect(done(), "CPFILENEW", points("P", 2, many));
    expect(done(), "CLFILENEW", bytes().text("L").i32(2));
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
  expect_refusal("Cannot get file info", "CPFILEAPP", one);
  expect(done(), "CPFILENEW", points("P", 2, {1, 2}));
  set_current_file("P");
  expect_refusal("There should not be any test value in the coordinates", "CPFILEAPP",
                 bytes().i64(1).i32(2).f64(1).i64(0x7FE5F98E6BDA7FBC));
  expect_refusal("Current file is not 3D. Cannot append data.", "CPFILEAPP",
                 bytes().i64(1).i32(3).f64(1, 2, 3));
  expect_refusal("Cannot add 0 samples to file Study: Dir/P", "CPFILEAPP", bytes().i64(0).i32(2));
  expect(done(), "CGFILENEW", bytes().text("G").i32(2).f64(0, 1).i32(2).f64(0, 1).i32(2));
  set_current_file("G");
  expect_refusal("Cannot add 1 samples to file Study: Dir/G", "CPFILEAPP", one);
  // A file that has lost a coordinate doesn't grow.
  set_current_file("P");
  fs::remove_all(path("FILE.2/VARI.3"));
  expect_refusal("Error selecting variable Study: Dir/P/Y+ Gravity Center", "CPFILEAPP", one);
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
  axis_format_y.factor = 30.48;
  expect(done(), "CGFILENEW", bytes().text("G").i32(2).f64(10, 1).i32(3).f64(20, 2).i32(2));
  EXPECT_EQ(descriptor(2), descriptor_of("G", grid_fields(2, {1000, 20 * 30.48, 0, 100, 2 * 30.48, 0},
                                                          {3, 2, 1}, {0, 0, 0}, 6)));
  expect(done(), "CGFILENEW", bytes().text("H").i32(3).f64(1, 1).i32(2).f64(1, 1).i32(300).f64(2, 3).i32(1));
  EXPECT_EQ(descriptor(3), descriptor_of("H", grid_fields(3, {100, 30.48, 200, 100, 30.48, 300}, {2, 300, 1},
                                                          {0, 0, 0}, 600)));
  EXPECT_TRUE(exists("FILE.3/VARI.7"));
  EXPECT_FALSE(exists("FILE.3/VARI.8"));
  EXPECT_EQ(data(3, 7), "");

  auto grid = [](const char* name, int nx, int ny) {
    return bytes().text(name).i32(2).f64(0, 1).i32(nx).f64(0, 1).i32(ny);
  };
  expect_refusal("File Study: Dir/G already exists", "CGFILENEW", grid("G", 2, 2));
  expect_refusal("Cannot create grid file Study: Dir/I", "CGFILENEW", grid("I", 0, 2));
  expect_refusal("Cannot create grid file Study: Dir/I", "CGFILENEW", grid("I", 2, -5));
  expect_refusal(
      "Cannot create grid file Study: Dir/I", "CGFILENEW",
      bytes().text("I").i32(3).f64(0, 1).i32(INT32_MAX).f64(0, 1).i32(INT32_MAX).f64(0, 1).i32(INT32_MAX));
  EXPECT_FALSE(exists("FILE.4"));
}

TEST_F(file_requests, origin_mesh_and_rotation_of_a_grid_change) {
  expect(done(), "CGFILENEW", bytes().text("G").i32(2).f64(10, 1).i32(3).f64(20, 2).i32(2));
  expect(done(), "CGFILENEW", bytes().text("H").i32(3).f64(1, 1).i32(2).f64(1, 1).i32(2).f64(2, 3).i32(1));
  const bytes three = bytes().f64(5, 6, 7);
  set_current_directory("None");
  expect_refusal("Directory is not set", "GRIDMODO", three);
  set_current_directory("Dir");
  expect_refusal("File is not set", "GRIDMODM", three);
  set_current_file("Gone");
  expect_refusal("Cannot get file info", "GRIDMODR", three);
  set_current_file("File");
  expect_refusal("Current file is not a grid", "GRIDMODO", three);

  distance_format.factor = 10.0;
  set_current_file("G");
  for (const char* derived : {"FILE.2/RPD", "FILE.2/PTD"}) write_file(path(derived), "computed");
  expect(done(), "GRIDMODO", three);
  EXPECT_EQ(descriptor(2),
            descriptor_of("G", grid_fields(2, {50, 60, 0, 100, 200, 0}, {3, 2, 1}, {0, 0, 0}, 6)));
  EXPECT_FALSE(exists("FILE.2/RPD"));
  const std::string before = descriptor(2);
  write_file(path("FILE.2/PTD"), "computed");
  {
    file_size_limit full(100);
    for (const char* request : {"GRIDMODO", "GRIDMODM", "GRIDMODR"})
      expect_refusal("Impossible to write the file_descriptor", request, three);
  }
  EXPECT_EQ(descriptor(2), before);
  EXPECT_EQ(read_file(path("FILE.2/PTD")), "computed");
  fs::remove(path("FILE.2/PTD"));
  EXPECT_FALSE(exists("FILE.2/PTD"));
  expect(done(), "GRIDMODR", three);
  EXPECT_EQ(descriptor(2),
            descriptor_of("G", grid_fields(2, {50, 60, 0, 100, 200, 0}, {3, 2, 1}, {5, 0, 0}, 6)));

  set_current_file("H");
  current_context.unit_mode = 1;
  expect(done(), "GRIDMODM", three);
  expect(done(), "GRIDMODR", three);
  EXPECT_EQ(descriptor(3),
            descriptor_of("H", grid_fields(3, {100, 100, 200, 500, 600, 700}, {2, 2, 1}, {5, 6, 7}, 4)));
  // The client is told the lengths of a study without units as they are stored, and sends them so.
  unit_flag = 0;
  expect(done(), "GRIDMODO", three);
  EXPECT_EQ(descriptor(3),
            descriptor_of("H", grid_fields(3, {5, 6, 7, 500, 600, 700}, {2, 2, 1}, {5, 6, 7}, 4)));
  fs::remove_all(path("FILE.3/VARI.5"));
  expect_refusal("Cannot get coords formats", "GRIDMODM", three);
}

TEST_F(file_requests, each_append_to_a_lines_file_is_a_line) {
  make_lines(2);
  EXPECT_EQ(table(2), bytes().i64(1).str());
  EXPECT_EQ(session.ask("CLFILECNT"), bytes().text("SLFILECNT").i32(0).str());
  expect(done(), "CLFILEAPP", line(2, {1, 2, 3, 10, 20, 30}));
  expect(done(), "CLFILEAPP", line(2, {4, 5, 40, 50}));
  EXPECT_EQ(table(2), bytes().i64(1, 4, 6).str());
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 2, 5)));
  EXPECT_EQ(data(2, 4), doubles({100, 200, 300, 400, 500}));
  EXPECT_EQ(data(2, 5), doubles({1000, 2000, 3000, 4000, 5000}));
  EXPECT_EQ(session.ask("CLFILECNT"), bytes().text("SLFILECNT").i32(2, 3, 2).str());
}

TEST_F(file_requests, cores_are_segments_from_end_to_end) {
  make_lines(2);
  expect(done(), "CLFILEAPC", bytes().i32(2, 2).f64(0, 0, 0, 0, 10, 30));
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(3, 2, 1, 2)));
  EXPECT_EQ(data(2, 5), doubles({500, 2000})) << "centres";
  EXPECT_EQ(data(2, 7), doubles({0, 1000})) << "begins";
  EXPECT_EQ(data(2, 8), doubles({0, 0}));
  EXPECT_EQ(data(2, 9), doubles({1000, 3000})) << "ends";
  expect(done(), "CLFILEAPC", bytes().i32(1, 2).f64(1, 2, 3, 4));
  EXPECT_EQ(data(2, 7), doubles({0, 1000, 200}));
  EXPECT_EQ(data(2, 5), doubles({500, 2000, 300}));
  expect_refusal("Current file is not a lines file", "CLFILEAPP", line(2, {1, 2}));
  EXPECT_EQ(table(2), bytes().i64(1, 3, 4).str());
}

TEST_F(file_requests, cores_in_3d) {
  make_lines(3);
  expect(done(), "CLFILEAPC", bytes().i32(1, 3).f64(1, 2, 3, 5, 6, 9));
  EXPECT_EQ(data(2, 6), doubles({600})) << "Z centre";
  EXPECT_EQ(data(2, 9), doubles({300})) << "Z begin";
  EXPECT_EQ(data(2, 12), doubles({900})) << "Z end";
}

TEST_F(file_requests, refused_lines_change_nothing) {
  const bytes segment = bytes().i32(1, 2).f64(0, 0, 1, 2);
  set_current_file("Gone");
  expect_refusal("Cannot get file info", "CLFILEAPP", line(2, {1, 2}));
  set_current_file("File");
  expect_refusal("Current file is not a lines file", "CLFILEAPP", line(2, {1, 2}));
  expect_refusal("Current file is not a lines file", "CLFILEAPC", segment);
  expect_refusal("Current file is not a lines file", "CLFILECNT", {});
  expect_refusal("Unknown file dimension (1) for file", "CLFILENEW", bytes().text("Holes").i32(1));
  expect_refusal("File Study: Dir/File already exists", "CLFILENEW", bytes().text("File").i32(2));
  make_lines(2);
  expect_refusal("Current file dimension (2) doesn't match append information (3D)", "CLFILEAPP",
                 line(3, {1, 2, 3}));
  expect_refusal("Current file dimension (2) doesn't match append information (5D)", "CLFILEAPP",
                 line(5, {1, 2, 3, 4, 5}));
  for (int count : {0, -3}) {
    std::string text = "Cannot append " + std::to_string(count) + " samples to file. No space left ?";
    expect_refusal(text, "CLFILEAPP", bytes().i32(count, 2));
    expect_refusal(text, "CLFILEAPC", bytes().i32(count, 2).f64(0, 0));
  }
  expect_refusal("There should not be any test value in the coordinates", "CLFILEAPC",
                 bytes().i32(1, 2).f64(0, 0, 1).i64(0x7FE5F98E6BDA7FBC));
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 0, 0)));
  EXPECT_FALSE(exists("FILE.2/VARI.6"));
}

TEST_F(file_requests, a_gravity_file_with_samples_has_no_segments) {
  make_lines(2);
  expect(done(), "CLFILEAPP", line(2, {1, 2}));
  expect_refusal("Cannot retrieve coordinate 3 variable name in fileDir/Holes", "CLFILEAPC",
                 bytes().i32(1, 2).f64(0, 0, 1, 2));
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 1, 1)));
  expect(done(), "CLFILEAPP", line(2, {3, 4}));
}

TEST_F(file_requests, a_failed_change_to_cores_takes_its_variables_away) {
  make_lines(2);
  expect(done(), "CVARCNEW", bytes().text("YE+ End of Sample").i32(4));
  expect_refusal("Error creating variable Study: Dir/Holes/YE+ End of Sample", "CLFILEAPC",
                 bytes().i32(1, 2).f64(0, 0, 1, 2));
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 0, 0)));
  EXPECT_TRUE(exists("FILE.2/VARI.6"));
  for (const char* gone : {"FILE.2/VARI.7", "FILE.2/VARI.8", "FILE.2/VARI.9"})
    EXPECT_FALSE(exists(gone)) << gone;
}

TEST_F(file_requests, a_header_has_one_sample_per_line) {
  make_lines(2);
  expect(done(), "CLFILEAPP", line(2, {1, 2}));
  expect(done(), "CPFILENEW", points("P", 2, {1, 2}));
  expect(done(), "CPFILENEW", points("Q", 2, {1, 2}));
  expect(done(), "CPFILENEW", points("Two", 2, {1, 2, 3, 4}));
  expect_refusal("Line File Study: Dir/Gone does not exist", "CLFILELNK", bytes().text("Gone"));
  expect_refusal("Linked file should be a points file Study: Dir/Holes", "CLFILELNK", bytes().text("Holes"));
  expect_refusal("Cannot link this Lines file (1 lines) with this 2 samples Points file", "CLFILELNK",
                 bytes().text("Two"));
  set_current_file("P");
  expect_refusal("Cannot link this Lines file (0 lines) with this 0 samples Points file", "CLFILELNK",
                 bytes().text("File"));
  set_current_file("Holes");
  expect(done(), "CLFILELNK", bytes().text("P"));
  expect(done(), "CLFILELNK", bytes().text("Q"));
  EXPECT_EQ(descriptor(3), descriptor_of("P", file_fields(1, 2, 0, 1)));
  EXPECT_EQ(descriptor(4), descriptor_of("Q", file_fields(1, 2, 0, 1, "Holes")));
  EXPECT_EQ(descriptor(2), descriptor_of("Holes", file_fields(2, 2, 1, 1, "Q")));
}

// A lines file "Holes" of one line that is linked to "Collars", whose variable "Name" names the line.
class linked_files : public file_requests {
 protected:
  linked_files() {
    make_lines(2);
    expect(done(), "CLFILEAPP", line(2, {1, 2}));
    expect(done(), "CPFILENEW", points("Collars", 2, {1, 2}));
    expect(done(), "CLFILELNK", bytes().text("Collars"));
    set_current_file("Collars");
    expect(done(), "CVARCNEW", bytes().text("Name").i32(2));
    write_file(path("FILE.3/VARI.4/DATAVAR"), "a1" + std::string(1022, ' '));
    set_current_variable("Name");
    expect(done(), "CVARLNAME", {});
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
  expect(done(), "CPFILEAPP", bytes().i64(1).i32(2).f64(0, 0));
  expect_link(false);
}

TEST_F(linked_files, a_line_ends_the_link) {
  set_current_file("Holes");
  expect(done(), "CLFILEAPP", line(2, {1, 2}));
  expect_link(false);
}

TEST_F(linked_files, a_refused_append_keeps_the_link) {
  expect(refusal("Cannot add 0 samples to file Study: Dir/Collars"), "CPFILEAPP", bytes().i64(0).i32(2));
  set_current_file("Holes");
  expect(refusal("Cannot append 0 samples to file. No space left ?"), "CLFILEAPP", bytes().i32(0, 2));
  expect_link(true);
}

TEST_F(file_requests, line_names_are_refused_in_order) {
  make_lines(2);
  expect(done(), "CLFILEAPP", line(2, {1, 2}));
  set_current_variable("X+ Gravity Center");
  expect_refusal("Not a valid Velmar Points file: Study: Dir/Holes", "CVARLNAME", {});
  expect(done(), "CPFILENEW", points("P", 2, {1, 2}));
  set_current_file("P");
  set_current_variable("X+ Gravity Center");
  expect_refusal("Points file is not linked to a Lines File: Study: Dir/P", "CVARLNAME", {});
  set_current_file("Holes");
  expect(done(), "CLFILELNK", bytes().text("P"));
  set_current_file("P");
  set_current_variable("Gone");
  expect_refusal("Not a valid Velmar variable: Study: Dir/P/Gone", "CVARLNAME", {});
  set_current_variable("X+ Gravity Center");
  expect_refusal("Variable is not an Alphanumerical one: Study: Dir/P/X+ Gravity Center", "CVARLNAME", {});
  expect(done(), "CVARCNEW", bytes().text("Name").i32(4));
  set_current_variable("Name");
  expect_refusal("Error while modifying Variable into a line name: Study: Dir/P/Name", "CVARLNAME", {});
}

}  // namespace
}  // namespace qrd::test
