#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "server/context.h"
#include "store/qd_init.h"
#include "store/qd_tools.h"
#include "support/bytes.h"
#include "support/request_session.h"
#include "support/temporary_directory.h"
#include "units/qu_units.h"
#include "util/qu_string.h"

namespace qrd {
namespace {

using test::bytes;
using test::done;
using test::refusal;

class unit_requests : public testing::Test {
 protected:
  void SetUp() override {
    unit_flag = 1;
    qu_formats_reset();
  }
  void TearDown() override { SetUp(); }
  std::string distance(const std::string& symbol) {
    return session.ask("CDISTUSET", bytes().text(symbol).str());
  }
  std::string mode(std::int32_t value) { return session.ask("CUNITMODE", bytes().i32(value).str()); }
  std::string creation(const std::string& x, const std::string& y, const std::string& z) {
    return session.ask("CUNITCR", bytes().text(x).text(y).text(z).str());
  }
  static std::string axes() {
    std::string result;
    for (int axis = 0; axis < 3; ++axis)
      result += std::string(axis_format(axis).unit) + "=" + std::to_string(axis_format(axis).factor) + " ";
    return result;
  }
  test::request_session session;
};

TEST_F(unit_requests, the_distance_unit_is_that_of_new_objects_too) {
  current_context.unit_mode = 1;
  EXPECT_EQ(creation("km", "mm", "in"), done());
  EXPECT_EQ(axes(), "km=100000.000000 mm=0.100000 in=2.540000 ");
  distance_format.digits = 5;
  EXPECT_EQ(distance("ft"), done());
  EXPECT_STREQ(distance_format.unit, "ft");
  EXPECT_EQ(distance_format.factor, 30.48);
  EXPECT_EQ(distance_format.digits, 5);
  EXPECT_EQ(distance_format.length_flag, 1);
  EXPECT_EQ(axis_format_z.digits, 5);
  EXPECT_EQ(axes(), "ft=30.480000 ft=30.480000 ft=30.480000 ");
}

TEST_F(unit_requests, an_unknown_distance_unit_is_refused_only_where_units_are_kept) {
  EXPECT_EQ(distance("Ft"), refusal("Not a valid Unit: \"Ft\""));
  EXPECT_STREQ(distance_format.unit, "m");
  unit_flag = 0;
  EXPECT_EQ(distance("a text beyond its room"), done());
  EXPECT_STREQ(distance_format.unit, "a text be*");
  EXPECT_EQ(distance_format.factor, 1.0);
  EXPECT_EQ(distance("km"), done());
  EXPECT_EQ(distance_format.factor, 1.0);
}

TEST_F(unit_requests, mode_0_sets_the_axes_back) {
  EXPECT_EQ(mode(7), done());
  EXPECT_EQ(current_context.unit_mode, 7);
  EXPECT_EQ(creation("m", "m", "ft"), done());
  EXPECT_EQ(axes(), "m=100.000000 m=100.000000 ft=30.480000 ");
  EXPECT_EQ(mode(0), done());
  EXPECT_EQ(axes(), "m=100.000000 m=100.000000 m=100.000000 ");
}

TEST_F(unit_requests, creation_units_are_tested_only_in_their_mode) {
  EXPECT_EQ(creation("km", "Ft", "ft"), done());
  EXPECT_EQ(axes(), "m=100.000000 m=100.000000 m=100.000000 ");
  mode(1);
  EXPECT_EQ(creation("km", "Ft", "x"), refusal("unit 2 (Ft) is not a length unit symbol"));
  EXPECT_EQ(axes(), "m=100.000000 m=100.000000 m=100.000000 ");
}

class variable_unit : public unit_requests {
 protected:
  void SetUp() override {
    unit_requests::SetUp();
    qu_string_copy(folder.path().c_str(), catalogue_path);
    path = folder / "DIRE.1/FILE.1/VARI.1";
    std::filesystem::create_directories(path);
    qd_directory_descriptor_write((folder / "DIRE.1").c_str(), "directory");
    qd_file_record file;
    qu_string_copy("file", file.name);
    file.organisation = ORG_POINTS;
    file.dimension = 2;
    qd_file_descriptor_write((folder / "DIRE.1/FILE.1").c_str(), file);
    write("elev");
    qu_string_copy("directory", current_context.directory);
    qu_string_copy("file", current_context.file);
    qu_string_copy("elev", current_context.variable);
  }
  void write(const char* name) {
    qd_variable_record record;
    qu_string_copy(name, record.name);
    record.bit_length = 32;
    record.format.length_flag = 1;
    qu_string_copy("m", record.format.unit);
    record.format.factor = 100.0;
    ASSERT_EQ(qd_variable_descriptor_write(path.c_str(), record), 1);
  }
  std::string set(std::int32_t count, const std::string& symbol, const std::string& display = "") {
    bytes arguments;
    arguments.i32(count).text(symbol);
    if (count == 2) arguments.text(display);
    std::string reply = session.ask("CVARUNIT", arguments.str());
    return reply == done() ? stored() : reply;
  }
  std::string stored() {
    qd_variable_record record;
    qd_variable_descriptor_read(path.c_str(), record);
    return std::string(record.format.unit) + "=" + std::to_string(record.format.factor) +
           (record.format.length_flag != 0 ? " length" : "");
  }
  test::temporary_directory folder;
  std::string path;
};

TEST_F(variable_unit, the_first_symbol_converts_and_the_second_shows) {
  EXPECT_EQ(set(1, "km"), "km=100000.000000 length");
  EXPECT_EQ(set(2, "km", "m"), "_m=100000.000000 length");
  EXPECT_EQ(set(2, "ft", "furlong"), "furlong=30.480000 length");
  EXPECT_EQ(set(3, "mm"), "mm=0.100000 length");
}

TEST_F(variable_unit, an_unknown_first_symbol_is_a_plain_text) {
  EXPECT_EQ(set(2, "ppm", "m"), "ppm=1.000000");
  EXPECT_EQ(set(1, "exactlyten"), "exactlyten=1.000000");
}

TEST_F(variable_unit, a_study_without_units_changes_the_text_alone) {
  unit_flag = 0;
  EXPECT_EQ(set(2, "km", "any"), "any=100.000000");
  EXPECT_EQ(set(1, "km"), "km=100.000000");
}

TEST_F(variable_unit, an_index_means_the_whole_macro) {
  write("metal[xxxxx]");
  qu_string_copy("metal[00012]", current_context.variable);
  EXPECT_EQ(set(1, "km"), "km=100000.000000 length");
}

TEST_F(variable_unit, needs_a_variable_that_is_there) {
  qu_string_copy("gone", current_context.variable);
  EXPECT_EQ(set(1, "km"), refusal("Cannot get variable descriptor"));
  reset_context();
  EXPECT_EQ(set(1, "km"), refusal("Variable is not set"));
}

}  // namespace
}  // namespace qrd
