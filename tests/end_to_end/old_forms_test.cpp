// A study of old versions: what reading it makes of its files.
#include <gtest/gtest.h>

#include <string>

#include "end_to_end/database.h"

namespace qrd::test {
namespace {

struct display {
  int format;
  int digits;
  const char* unit;
  double factor;
};

std::string variable_descriptor(const std::string& name, int kind, int implicit, const display& shown) {
  return bytes()
      .i32(1100)
      .text(name)
      .i32(0, kind, 64, implicit, shown.format, 10, shown.digits)
      .text(shown.unit)
      .f64(shown.factor)
      .str();
}

TEST(old_forms, become_the_current_ones_by_a_read) {
  const database copy;
  tree_image expected = image_of(copy.root());
  {
    served server(copy.root());
    server.choose("Archive", "Old data", "cube");
    EXPECT_EQ(server.connection.variables().size(), 8u);
    server.connection.set_variable("number");
    EXPECT_EQ(server.connection.read_floats(client::sample_range{23, 24}).values,
              (std::vector<double>{23, 24}));
    EXPECT_EQ(read_file(copy / "OLD/ARCHIVE/LOCK"), "LOCKED");
    EXPECT_EQ(server.finish(), 0);
  }

  const std::string folder = "OLD/ARCHIVE/QRD/DIRE.2/";
  expected[folder + "DESCR"] = bytes().i32(1100).text("Old data").str();
  bytes file;
  file.i32(1100).text("cube").i32(5, 3, 0);
  for (double value : {100.0, 200.0, 300.0, 100.0, 200.0, 300.0}) file.f64(value);
  file.i32(2, 3, 4).f64(0, 0, 0).text("").i64(24, 512);
  expected[folder + "FILE.4/DESCR"] = file.str();
  const display length{2, 2, "m", 100.0};
  const display number{2, 2, "", 0.0};
  const display count{1, 0, "", 0.0};
  const auto variable = [&](int place, const std::string& name, int kind, int implicit,
                            const display& shown) {
    expected[folder + "FILE.4/VARI." + std::to_string(place) + "/DESCR"] =
        variable_descriptor(name, kind, implicit, shown);
  };
  variable(1, "X+ Coordinate (READONLY)", 7, 1, length);
  variable(2, "Y+ Coordinate (READONLY)", 8, 1, length);
  variable(3, "IX+ Index (READONLY)", 4, 1, count);
  variable(4, "IY+ Index (READONLY)", 5, 1, count);
  variable(5, "Z+ Coordinate (READONLY)", 9, 1, length);
  variable(6, "IZ+ Index (READONLY)", 6, 1, count);
  variable(7, "SN+ Sample Number (READONLY)", 1, 1, count);
  variable(8, "number", 0, 0, number);
  // The old folder of anamorphoses has its new name.
  for (const char* name : {"", "/.keep"}) {
    expected["OLD/ARCHIVE/PARAM/ANAM" + std::string(name)] =
        expected.at("OLD/ARCHIVE/PARAM/MHISTO" + std::string(name));
    expected.erase("OLD/ARCHIVE/PARAM/MHISTO" + std::string(name));
  }
  // The flag of the study that was open before stays.
  expected["Holes/LOCK"] = "LOCKED";
  EXPECT_EQ(changes(expected, image_of(copy.root())), std::vector<std::string>{});
}

}  // namespace
}  // namespace qrd::test
