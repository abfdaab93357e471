// A client walks the shipped database.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "end_to_end/database.h"

namespace qrd::test {
namespace {

using client::organisation;
using client::variable_filter;
using names = std::vector<std::string>;

TEST(walk, from_the_studies_to_the_variables) {
  const database copy;
  served server(copy.root());
  client::connection& to = server.connection;
  EXPECT_EQ(to.studies(), (names{"Holes", "Archive"}));
  EXPECT_EQ(refusal_of([&] { to.directories(); }), "Study is not set");
  to.set_study("Holes");
  EXPECT_EQ(to.directories(), names{"Drilling"});
  EXPECT_TRUE(to.directory_exists("Drilling"));
  EXPECT_FALSE(to.directory_exists("drilling"));
  to.set_directory("Drilling");
  EXPECT_EQ(to.files(), (names{"collars", "cores", "domains"}));
  EXPECT_EQ(to.files(organisation::core_lines, 3), names{"cores"});
  EXPECT_EQ(to.files(organisation::points, 3), (names{"collars", "domains"}));
  EXPECT_EQ(to.files(organisation::grid, std::nullopt), names{});

  to.set_file("cores");
  const client::file_info cores = to.file_info();
  EXPECT_EQ(cores.organisation, organisation::core_lines);
  EXPECT_EQ(cores.linked_file, "collars");
  EXPECT_EQ(cores.dimension, 3);
  EXPECT_EQ(cores.samples, 3762);
  EXPECT_EQ(cores.lines, 50);
  EXPECT_EQ(cores.core_begins[2], "ZB+ Begin of Sample");
  EXPECT_EQ(cores.line_name, std::nullopt);
  EXPECT_FALSE(cores.has_polygons);
  EXPECT_EQ(to.variables(variable_filter::selections), (names{"ore", "sampled"}));
  EXPECT_EQ(to.variables(variable_filter::macros), names{});
  EXPECT_EQ(to.variables().size(), 23u);
  EXPECT_TRUE(to.variable_exists("Cu class"));
  EXPECT_FALSE(to.variable_exists("Cu class "));
  EXPECT_EQ(to.comment(client::comment_owner::file), "Assayed intervals, with begin and end of each.\n");

  to.set_file("collars");
  const client::file_info collars = to.file_info();
  EXPECT_EQ(collars.organisation, organisation::points);
  EXPECT_EQ(collars.linked_file, "cores");
  EXPECT_EQ(collars.line_name, "hole");
  EXPECT_EQ(collars.coordinates[0], "X+ Gravity Center");
  to.set_variable("depth");
  EXPECT_EQ(to.variable_info().bits, 32);
  EXPECT_EQ(to.variable_info().unit_symbol, "m");
  to.set_unit_mode(client::unit_mode::own);
  EXPECT_EQ(to.variable_info().unit_symbol, "ft");
  EXPECT_EQ(to.variable_info().unit, "Foot");
  EXPECT_NEAR(to.read_floats(client::sample_range{1, 1}).values.at(0), 1921.0, 1e-3);

  to.set_file("domains");
  EXPECT_TRUE(to.file_info().has_polygons);
  EXPECT_EQ(server.finish(), 0);
}

TEST(walk, the_lines_of_the_cores) {
  const database copy;
  served server(copy.root());
  server.choose("Holes", "Drilling", "cores");
  client::connection& to = server.connection;
  const std::vector<std::int32_t> lengths = to.line_lengths();
  ASSERT_EQ(lengths.size(), 50u);
  EXPECT_EQ(std::vector(lengths.begin(), lengths.begin() + 4), (std::vector<std::int32_t>{91, 71, 92, 81}));
  EXPECT_EQ(*std::max_element(lengths.begin(), lengths.end()), 218);

  // Each line is its part of the whole, and its samples say so themselves.
  to.set_variable("to");
  const std::vector<double> whole = to.read_floats().values;
  std::int64_t first = 1;
  for (std::int32_t line = 1; line <= 50; ++line) {
    const std::int32_t length = lengths[static_cast<std::size_t>(line - 1)];
    const auto begin = whole.begin() + (first - 1);
    EXPECT_EQ(to.read_line(line).values, std::vector(begin, begin + length)) << line;
    first += length;
  }
  EXPECT_EQ(first, 3763);
  to.set_variable("RN+ Relative Number (READONLY)");
  const std::vector<double> last_line = to.read_line(50).values;
  ASSERT_EQ(last_line.size(), static_cast<std::size_t>(lengths[49]));
  for (std::size_t i = 0; i < last_line.size(); ++i) EXPECT_EQ(last_line[i], static_cast<double>(i + 1));
  EXPECT_EQ(refusal_of([&] { to.read_line(51); }), "Wrong line index (51) where file only contains 50 lines");
  EXPECT_EQ(refusal_of([&] { to.read_line(0); }), "Wrong line index");
}

TEST(walk, selections_mask_and_compress) {
  const database copy;
  served server(copy.root());
  server.choose("Holes", "Drilling", "cores");
  client::connection& to = server.connection;
  to.set_variable("ore");
  const std::vector<std::uint8_t> ore = to.read_selection();
  ASSERT_EQ(std::count(ore.begin(), ore.end(), 1), 1627);
  to.set_variable("Cu");
  const std::vector<double> copper = to.read_floats().values;
  to.set_variable("hole");
  const names holes = to.read_texts().values;

  to.set_selection("ore");
  const client::sample_range range{100, 999};
  std::vector<double> masked(copper.begin() + 99, copper.begin() + 999);
  names masked_holes(holes.begin() + 99, holes.begin() + 999);
  std::vector<double> kept;
  names kept_holes;
  for (std::size_t i = 0; i < masked.size(); ++i) {
    if (ore[i + 99] != 0) {
      EXPECT_GE(masked[i], 0.4f);
      kept.push_back(masked[i]);
      kept_holes.push_back(masked_holes[i]);
    } else {
      masked[i] = client::missing_value;
      masked_holes[i] = "        ";
    }
  }
  EXPECT_EQ(to.read_texts(range).values, masked_holes);
  EXPECT_EQ(to.read_texts(range, client::selection_use::compressed).values, kept_holes);
  to.set_variable("Cu");
  EXPECT_EQ(to.read_floats(range).values, masked);
  EXPECT_EQ(to.read_floats(range, client::selection_use::compressed).values, kept);
  // Under a selection, a selection is what both select.
  to.set_variable("sampled");
  EXPECT_EQ(to.read_selection(), ore);
}

// A grid turned about all its axes, against the formulas.
TEST(walk, the_places_of_a_turned_grid) {
  const database copy;
  served server(copy.root());
  client::connection& to = server.connection;
  to.set_study("Archive");
  to.set_directory("Old data");
  to.set_file("cube");
  EXPECT_FALSE(to.file_info().rotated);
  to.set_grid_rotation(30, 10, -5);
  EXPECT_TRUE(to.file_info().rotated);
  EXPECT_EQ(to.file_info().angles[2], -5.0);

  const double degree = 3.141592653589793 / 180;
  const double sa = std::sin(30 * degree), ca = std::cos(30 * degree), sb = std::sin(10 * degree),
               cb = std::cos(10 * degree), sc = std::sin(-5 * degree), cc = std::cos(-5 * degree);
  // Rows: where the grid's axes point to.
  const double axis_x[] = {ca * cb, sa * cb, -sb};
  const double axis_y[] = {sb * ca * sc - cc * sa, sb * sa * sc + cc * ca, sc * cb};
  const double axis_z[] = {sb * ca * cc + sc * sa, sb * sa * cc - sc * ca, cc * cb};
  const char* variables[] = {"X+ Coordinate (READONLY)", "Y+ Coordinate (READONLY)",
                             "Z+ Coordinate (READONLY)"};
  for (int axis = 0; axis < 3; ++axis) {
    to.set_variable(variables[axis]);
    const std::vector<double> values = to.read_floats().values;
    ASSERT_EQ(values.size(), 24u);
    for (int sample = 0; sample < 24; ++sample) {
      // Origin (1, 2, 3), mesh (1, 2, 3), nodes 2 x 3 x 4, Z fastest.
      const int i = sample / 12, j = sample / 4 % 3, k = sample % 4;
      EXPECT_NEAR(values[static_cast<std::size_t>(sample)],
                  axis + 1 + i * axis_x[axis] + 2 * j * axis_y[axis] + 3 * k * axis_z[axis], 1e-12)
          << variables[axis] << sample;
    }
  }
}

}  // namespace
}  // namespace qrd::test
