#include "support/open_study.h"

namespace qrd::test {
namespace {

struct faults : open_study {};

bytes& segment(bytes& out, const std::vector<double>& nine, const std::vector<double>& attributes,
               int priority) {
  return out.f64(nine).f64(attributes).i32(priority);
}
const std::vector<double> none = {missing_double, missing_double, missing_double};

TEST_F(faults, travel_through_a_2d_file) {
  make_points("P", 1);
  expect_refused("CFAULTS", bytes().i32(127), "P is not a faulted file.");
  bytes sent = bytes().i32(1, 0).f64(-9).i32(3).text("F1").i32(1, 2);
  segment(sent, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {-9, 11, 12}, 200);
  segment(sent, {4, 5, 0, 6, 7, 0, 0, 0, 0}, {-9, -9, -9}, 0);
  sent.text("none").i32(0, 0).text("F1").i32(0, 1);
  segment(sent, {0, 0, 0, 1, 1, 0, 0, 0, 0}, {-9, -9, -9}, 5);
  expect_done("CWRITFAUL", sent);

  // Version 2; the fault without a segment counts but isn't stored; centimetres.
  bytes file = bytes().i32(2, 1, 1, 3, 3, 1, 127, 127);
  file.text("F1").f64(100, 200, 400, 500, missing_double, 11, 12).i32(1127);
  file.text("F1").f64(400, 500, 600, 700, missing_double, missing_double, missing_double).i32(1001);
  file.text("F1").f64(0, 0, 100, 100, missing_double, missing_double, missing_double).i32(5);
  EXPECT_EQ(read_file(in_file(1, "FAULT")), file);

  // A run of one name is one fault.
  bytes answer = bytes("SFAULTS").i32(1, 1).f64(missing_double).i32(1).text("F1").i32(1, 2);
  segment(answer, {4, 5, 0, 6, 7, 0, 0, 0, 0}, none, 1);
  segment(answer, {0, 0, 0, 1, 1, 0, 0, 0, 0}, none, 5);
  expect_answer("CFAULTS", bytes().i32(5), answer);
  expect_answer("CFAULTS", bytes().i32(0), bytes("SFAULTS").i32(1, 1).f64(missing_double).i32(0));
  expect_refused("CWRITFAUL", {}, "P is an already faulted file.");
}

TEST_F(faults, keep_triangles_and_units_in_3d) {
  make_points("P", 1, 3);
  bytes sent = bytes().i32(0, 1).f64(0).i32(1).text("West").i32(1, 1);
  segment(sent, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 0, 0}, 2);
  expect_done("CWRITFAUL", sent);
  expect_done("CDISTUSET", "km");
  // The file's own coordinates are in metres.
  for (const int mode : {0, 1}) {
    expect_done("CUNITMODE", bytes().i32(mode));
    std::vector<double> nine = {100, 200, 300, 400, 500, 600, 700, 800, 900};
    for (double& coordinate : nine) coordinate /= mode == 0 ? 1e5 : 100;
    bytes answer = bytes("SFAULTS").i32(0, 0).f64(missing_double).i32(1).text("West").i32(0, 1);
    expect_answer("CFAULTS", bytes().i32(127), segment(answer, nine, none, 2));
  }
}

TEST_F(faults, read_version_1) {
  make_points("P", 1);
  write_file(in_file(1, "FAULT"),
             bytes().i32(1, 1, 0, 1, 9, 3, 3, 127).text("ABCDEFGH").f64(100, 200, 300, 400).i32(1003));
  bytes plain = bytes("SFAULTS").i32(1, 0).f64(missing_double).i32(1).text("ABCDEFG").i32(1, 1);
  expect_answer("CFAULTS", bytes().i32(3), segment(plain, {1, 2, 0, 3, 4, 0, 0, 0, 0}, none, 3));
  write_file(in_file(1, "FAULT"),
             bytes().i32(1, 1, 1, 1, 1, 3, 3, 127).text("A").f64(100, 200, 300, 400, 1, 2, 3).i32(3));
  bytes with_attributes = bytes("SFAULTS").i32(1, 1).f64(missing_double).i32(1).text("A").i32(0, 1);
  expect_answer("CFAULTS", bytes().i32(3),
                segment(with_attributes, {1, 2, 0, 3, 4, 0, 0, 0, 0}, {1, 2, 3}, 3));
}

TEST_F(faults, a_damaged_file_is_removed) {
  make_points("P", 1);
  const std::string header = bytes().i32(2, 1, 0, 1, 1, 1, 1, 127).str();
  const std::string record = bytes("A").f64(1, 2, 3, 4, 5, 6, 7).i32(1).str();
  const std::string nameless = bytes("   ").f64(1, 2, 3, 4, 5, 6, 7).i32(1).str();
  for (const std::string& body : {record.substr(0, record.size() - 1), nameless}) {
    write_file(in_file(1, "FAULT"), header + body);
    expect_refused("CFAULTS", bytes().i32(1), "Cannot read faults.");
    EXPECT_FALSE(fs::exists(in_file(1, "FAULT")));
  }
  // A header alone can't be told from no faults; the file stays.
  write_file(in_file(1, "FAULT"), header.substr(0, 30));
  expect_refused("CFAULTS", bytes().i32(1), "P is not a faulted file.");
  EXPECT_TRUE(fs::exists(in_file(1, "FAULT")));
}

TEST_F(faults, that_a_full_disk_swallows_leave_the_file_not_faulted) {
  make_points("P", 1);
  bytes sent = bytes().i32(1, 0).f64(0).i32(1).text("F").i32(1, 200);
  for (int i = 0; i < 200; ++i) segment(sent, {1, 2, 0, 4, 5, 0, 0, 0, 0}, {0, 0, 0}, 2);
  {
    file_size_limit disk(8000);
    expect_refused("CWRITFAUL", sent, "Problem while writing faults for D/P");
  }
  expect_refused("CFAULTS", bytes().i32(127), "P is not a faulted file.");
}

TEST_F(faults, refuse_in_order) {
  make_points("P", 1);
  for (const bytes& sent :
       {bytes().i32(1, 0).f64(0).i32(-1), bytes().i32(1, 0).f64(0).i32(1).text("F").i32(0, -1)})
    expect_refused("CWRITFAUL", sent, "Error while reading from network");
  EXPECT_FALSE(fs::exists(in_file(1, "FAULT")));
  request_session fresh;
  EXPECT_EQ(fresh.ask("CFAULTS", bytes().i32(1)), refusal("File is not set"));
  EXPECT_EQ(fresh.ask("CWRITFAUL"), refusal("Directory is not set"));
  std::snprintf(current_context.directory, sizeof current_context.directory, "D");
  EXPECT_EQ(fresh.ask("CWRITFAUL"), refusal("File is not set"));
}

}  // namespace
}  // namespace qrd::test
