// A client walks the shipped database.
#include "support/database.h"

namespace qrd::test {
namespace {

using client::organisation;
using client::variable_filter;
using names = strings;

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

}  // namespace
}  // namespace qrd::test
