#include "support/catalogue_tree.h"
#include "support/requests.h"

namespace qrd::test {
namespace {

struct unit_requests : requests {
  void TearDown() override { units = {}; }
  std::string distance(const std::string& symbol) { return ask("CDISTUSET", bytes(symbol)); }
  std::string mode(std::int32_t value) { return ask("CUNITMODE", bytes().i32(value)); }
  std::string creation(const std::string& x, const std::string& y, const std::string& z) {
    return ask("CUNITCR", bytes(x).text(y).text(z));
  }
  static std::string axes() {
    std::string result;
    for (int axis = 0; axis < 3; ++axis)
      result += std::string(units.axis(axis).unit) + "=" + std::to_string(units.axis(axis).factor) + " ";
    return result;
  }
};

TEST_F(unit_requests, the_distance_unit_is_that_of_new_objects_too) {
  current_context.unit_mode = 1;
  EXPECT_EQ(creation("km", "mm", "in"), done());
  EXPECT_EQ(axes(), "km=100000.000000 mm=0.100000 in=2.540000 ");
  units.distance.digits = 5;
  EXPECT_EQ(distance("ft"), done());
  EXPECT_STREQ(units.distance.unit, "ft");
  EXPECT_EQ(units.distance.factor, 30.48);
  EXPECT_EQ(units.distance.digits, 5);
  EXPECT_EQ(units.distance.length_flag, 1);
  EXPECT_EQ(units.axis_z.digits, 5);
  EXPECT_EQ(axes(), "ft=30.480000 ft=30.480000 ft=30.480000 ");
}

TEST_F(unit_requests, an_unknown_distance_unit_is_refused_only_where_units_are_kept) {
  EXPECT_EQ(distance("Ft"), refusal("Not a valid Unit: \"Ft\""));
  EXPECT_STREQ(units.distance.unit, "m");
  units.kept = false;
  EXPECT_EQ(distance("a text beyond its room"), done());
  EXPECT_STREQ(units.distance.unit, "a text be*");
  EXPECT_EQ(units.distance.factor, 1.0);
  EXPECT_EQ(distance("km"), done());
  EXPECT_EQ(units.distance.factor, 1.0);
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

struct variable_unit : unit_requests {
  void SetUp() override {
    tree.add_directory("DIRE.1", "directory");
    tree.add("DIRE.1/FILE.1", file_fields{.name = "file"});
    write("elev");
    set_current_directory("directory");
    set_current_file("file");
    set_current_variable("elev");
  }
  void write(const std::string& name) { tree.add("DIRE.1/FILE.1/VARI.1", stored(name, "m", 100)); }
  static std::string stored(const std::string& name, const std::string& unit, double factor) {
    return variable_fields{.name = name, .bit_length = 32, .unit = unit, .factor = factor}.bytes_of();
  }
  std::string set(std::int32_t count, const std::string& symbol, const std::string& display = "") {
    bytes arguments = bytes().i32(count).text(symbol);
    if (count == 2) arguments.text(display);
    return ask("CVARUNIT", arguments);
  }
  void expect_stored(const std::string& name, const std::string& unit, double factor) {
    EXPECT_EQ(read_file(tree.descriptor("DIRE.1/FILE.1/VARI.1")), stored(name, unit, factor));
  }
  catalogue_tree tree;
};

TEST_F(variable_unit, the_first_symbol_converts_and_the_second_shows) {
  struct {
    std::int32_t count;
    const char *symbol, *display, *stored;
    double factor;
    std::int64_t units = 1;
  } const rows[] = {{1, "km", "", "km", 1e5},
                    {2, "km", "m", "_m", 1e5},
                    {2, "ft", "furlong", "furlong", 30.48},
                    {3, "mm", "", "mm", 0.1},
                    // An unknown first symbol is a plain text; without units nothing is a length.
                    {2, "ppm", "m", "ppm", 0},
                    {1, "exactlyten", "", "exactlyten", 0},
                    {2, "km", "any", "any", 0, 0},
                    {1, "km", "", "km", 0, 0}};
  for (const auto& row : rows) {
    write("elev");
    units.kept = row.units != 0;
    EXPECT_EQ(set(row.count, row.symbol, row.display), done()) << row.symbol;
    expect_stored("elev", row.stored, row.factor);
  }
}

TEST_F(variable_unit, an_index_means_the_whole_macro) {
  write("metal[xxxxx]");
  set_current_variable("metal[00012]");
  EXPECT_EQ(set(1, "km"), done());
  expect_stored("metal[xxxxx]", "km", 1e5);
}

TEST_F(variable_unit, a_full_disk_leaves_the_old_one) {
  write("elev");
  const std::string before = read_file(tree.descriptor("DIRE.1/FILE.1/VARI.1"));
  {
    file_size_limit full(16);
    EXPECT_EQ(set(1, "km"), refusal("Cannot write variable descriptor"));
  }
  EXPECT_EQ(read_file(tree.descriptor("DIRE.1/FILE.1/VARI.1")), before);
}

TEST_F(variable_unit, needs_a_variable_that_is_there) {
  set_current_variable("gone");
  EXPECT_EQ(set(1, "km"), refusal("Cannot get variable descriptor"));
  reset_context();
  EXPECT_EQ(set(1, "km"), refusal("Variable is not set"));
}

}  // namespace
}  // namespace qrd::test
