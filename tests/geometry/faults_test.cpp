#include <filesystem>

#include "support/file_size_limit.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

constexpr double no_data = 1.2345e308;

class faults : public open_study {};

bytes& segment(bytes& out, std::initializer_list<double> nine, std::initializer_list<double> attributes,
               int priority) {
  for (double value : nine) out.f64(value);
  for (double value : attributes) out.f64(value);
  return out.i32(priority);
}

TEST_F(faults, travel_through_a_2d_file) {
  make_points("P", 1);
  expect_refused("CFAULTS", bytes().i32(127), "P is not a faulted file.");
  bytes sent;
  sent.i32(1, 0).f64(-9).i32(3).text("F1").i32(1, 2);
  segment(sent, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {-9, 11, 12}, 200);
  segment(sent, {4, 5, 0, 6, 7, 0, 0, 0, 0}, {-9, -9, -9}, 0);
  sent.text("none").i32(0, 0).text("F1").i32(0, 1);
  segment(sent, {0, 0, 0, 1, 1, 0, 0, 0, 0}, {-9, -9, -9}, 5);
  expect_done("CWRITFAUL", sent);

  // Version 2; the fault without a segment counts but isn't stored; centimetres.
  bytes file;
  file.i32(2, 1, 1, 3, 3, 1, 127, 127);
  file.text("F1").f64(100, 200, 400, 500, no_data, 11, 12).i32(1127);
  file.text("F1").f64(400, 500, 600, 700, no_data, no_data, no_data).i32(1001);
  file.text("F1").f64(0, 0, 100, 100, no_data, no_data, no_data).i32(5);
  EXPECT_EQ(read_file(in_file(1, "FAULT")), file.str());

  // A run of one name is one fault.
  bytes answer;
  answer.text("SFAULTS").i32(1, 1).f64(no_data).i32(1).text("F1").i32(1, 2);
  segment(answer, {4, 5, 0, 6, 7, 0, 0, 0, 0}, {no_data, no_data, no_data}, 1);
  segment(answer, {0, 0, 0, 1, 1, 0, 0, 0, 0}, {no_data, no_data, no_data}, 5);
  expect_answer("CFAULTS", bytes().i32(5), answer);
  expect_answer("CFAULTS", bytes().i32(0), bytes().text("SFAULTS").i32(1, 1).f64(no_data).i32(0));
  expect_refused("CWRITFAUL", bytes(), "P is an already faulted file.");
}

TEST_F(faults, keep_triangles_and_units_in_3d) {
  make_points("P", 1, 3);
  bytes sent;
  sent.i32(0, 1).f64(0).i32(1).text("West").i32(1, 1);
  segment(sent, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 0, 0}, 2);
  expect_done("CWRITFAUL", sent);
  expect_done("CDISTUSET", bytes().text("km"));
  bytes in_km;
  in_km.text("SFAULTS").i32(0, 0).f64(no_data).i32(1).text("West").i32(0, 1);
  segment(in_km,
          {100 / 1e5, 200 / 1e5, 300 / 1e5, 400 / 1e5, 500 / 1e5, 600 / 1e5, 700 / 1e5, 800 / 1e5, 900 / 1e5},
          {no_data, no_data, no_data}, 2);
  expect_answer("CFAULTS", bytes().i32(127), in_km);
  // The file's own coordinates are in metres.
  expect_done("CUNITMODE", bytes().i32(1));
  bytes in_m;
  in_m.text("SFAULTS").i32(0, 0).f64(no_data).i32(1).text("West").i32(0, 1);
  segment(in_m, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {no_data, no_data, no_data}, 2);
  expect_answer("CFAULTS", bytes().i32(127), in_m);
}

TEST_F(faults, read_version_1) {
  make_points("P", 1);
  bytes plain;
  plain.i32(1, 1, 0, 1, 9, 3, 3, 127);
  plain.text("ABCDEFGH").f64(100, 200, 300, 400).i32(1003);
  write_file(in_file(1, "FAULT"), plain.str());
  bytes answer;
  answer.text("SFAULTS").i32(1, 0).f64(no_data).i32(1).text("ABCDEFG").i32(1, 1);
  segment(answer, {1, 2, 0, 3, 4, 0, 0, 0, 0}, {no_data, no_data, no_data}, 3);
  expect_answer("CFAULTS", bytes().i32(3), answer);

  bytes with_attributes;
  with_attributes.i32(1, 1, 1, 1, 1, 3, 3, 127);
  with_attributes.text("A").f64(100, 200, 300, 400, 1, 2, 3).i32(3);
  write_file(in_file(1, "FAULT"), with_attributes.str());
  bytes second;
  second.text("SFAULTS").i32(1, 1).f64(no_data).i32(1).text("A").i32(0, 1);
  segment(second, {1, 2, 0, 3, 4, 0, 0, 0, 0}, {1, 2, 3}, 3);
  expect_answer("CFAULTS", bytes().i32(3), second);
}

TEST_F(faults, a_damaged_file_is_removed) {
  make_points("P", 1);
  const std::string header = bytes().i32(2, 1, 0, 1, 1, 1, 1, 127).str();
  const std::string record = bytes().text("A").f64(1, 2, 3, 4, 5, 6, 7).i32(1).str();
  const std::string nameless = bytes().text("   ").f64(1, 2, 3, 4, 5, 6, 7).i32(1).str();
  for (const std::string& body : {record.substr(0, record.size() - 1), nameless}) {
    write_file(in_file(1, "FAULT"), header + body);
    expect_refused("CFAULTS", bytes().i32(1), "Cannot read faults.");
    EXPECT_FALSE(std::filesystem::exists(in_file(1, "FAULT")));
  }
  // A header alone can't be told from no faults; the file stays.
  write_file(in_file(1, "FAULT"), header.substr(0, 30));
  expect_refused("CFAULTS", bytes().i32(1), "P is not a faulted file.");
  EXPECT_TRUE(std::filesystem::exists(in_file(1, "FAULT")));
}

TEST_F(faults, that_a_full_disk_swallows_leave_the_file_not_faulted) {
  make_points("P", 1);
  bytes sent;
  sent.i32(1, 0).f64(0).i32(1).text("F").i32(1, 200);
  for (int i = 0; i < 200; ++i) segment(sent, {1, 2, 0, 4, 5, 0, 0, 0, 0}, {0, 0, 0}, 2);
  {
    file_size_limit disk(8000);
    expect_refused("CWRITFAUL", sent, "Problem while writing faults for D/P");
  }
  expect_refused("CFAULTS", bytes().i32(127), "P is not a faulted file.");
}

TEST_F(faults, refuse_impossible_counts) {
  make_points("P", 1);
  for (const bytes& sent :
       {bytes().i32(1, 0).f64(0).i32(-1), bytes().i32(1, 0).f64(0).i32(1).text("F").i32(0, -1)})
    expect_refused("CWRITFAUL", sent, "Error while reading from network");
  EXPECT_FALSE(std::filesystem::exists(in_file(1, "FAULT")));
}

TEST_F(faults, refuse_in_order) {
  request_session fresh;
  EXPECT_EQ(fresh.ask("CFAULTS", bytes().i32(1).str()), refusal("File is not set"));
  EXPECT_EQ(fresh.ask("CWRITFAUL"), refusal("Directory is not set"));
  std::snprintf(current_context.directory, sizeof current_context.directory, "D");
  EXPECT_EQ(fresh.ask("CWRITFAUL"), refusal("File is not set"));
}

}  // namespace
}  // namespace qrd::test
