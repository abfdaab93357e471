#include "support/formats.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

struct palettes : open_study {
  static bytes three(int count, int red, int green, int blue) {
    const auto size = static_cast<std::size_t>(count);
    bytes body = bytes().i32(count).i32(std::vector(size, red));
    return body.i32(std::vector(size, green)).i32(std::vector(size, blue));
  }
  void write(const std::string& name, const bytes& body) { expect_done("CPALWRIT", bytes(name).raw(body)); }
};

TEST_F(palettes, are_text_files_numbered_from_0) {
  write("one", three(2, 1, 20, 255));
  EXPECT_EQ(read_file(in_study("U_COLOR/PAL.0")), "one\n  1  20 255\n  1  20 255\n");
  write("two", three(0, 0, 0, 0));
  EXPECT_EQ(read_file(in_study("U_COLOR/PAL.1")), "two\n");
  expect_answer("CPALREAD", "one", bytes("SPAL").raw(three(2, 1, 20, 255)));
  write("one", three(256, 7, 8, 9));
  expect_answer("CPALREAD", "one", bytes("SPAL").raw(three(256, 7, 8, 9)));
  expect_done("CPALDEL", "one");
  // A number is taken by any entry, readable or not.
  fs::create_symlink("nowhere", in_study("U_COLOR/PAL.0"));
  write("three", three(1, 0, 0, 0));
  EXPECT_TRUE(fs::exists(in_study("U_COLOR/PAL.2")));
}

TEST_F(palettes, of_the_user_hide_those_of_the_system) {
  write_file(root_ / "PAL.4", "Grades\r\n 10 20 30 40\n50 60 junk");
  write_file(root_ / "PAL.5", "System grey\n");
  write_file(root_ / "XPAL.6", "not listed\n");
  expect_answer("CPALLST", {}, bytes("SPALLST").i32(2).text("Grades").text("System grey"));
  expect_answer("CPALREAD", "Grades", bytes("SPAL").i32(2, 10, 40, 20, 50, 30, 60));
  expect_refused("CPALWRIT", bytes("Grades").raw(three(1, 1, 1, 1)),
                 "An error occured during Palette Grades writing");
  expect_refused("CPALDEL", "Grades", "An error happened during Palette deletion");
  write_file(in_study("U_COLOR/PAL.0"), "Grades\n  1   2   3\n");
  expect_answer("CPALLST", {}, bytes("SPALLST").i32(2).text("Grades").text("System grey"));
  expect_answer("CPALREAD", "Grades", bytes("SPAL").raw(three(1, 1, 2, 3)));
}

TEST_F(palettes, refuse_what_would_not_come_back) {
  write("kept", three(1, 5, 5, 5));
  const std::string before = read_file(in_study("U_COLOR/PAL.0"));
  expect_refused("CPALWRIT", bytes("kept").raw(three(257, 1, 1, 1)),
                 "Palettes cannot have more than 256 colors");
  expect_refused("CPALWRIT", bytes("kept").i32(-3), "Palettes cannot have more than 256 colors");
  for (int bad : {256, -1})
    expect_refused("CPALWRIT", bytes("kept").raw(three(1, 1, bad, 1)),
                   "RGBs for Palettes must be in the [0-255] interval");
  EXPECT_EQ(read_file(in_study("U_COLOR/PAL.0")), before);
  for (const char* name : {"None", "a\nb", "a\rb"})
    expect_refused("CPALWRIT", bytes(name).raw(three(1, 1, 1, 1)),
                   std::string("Cannot create new Palette named ") + name + ".");
  expect_answer("CPALXIST", "kept", bytes("SEXIST").i32(1));
  expect_answer("CPALXIST", "None", bytes("SEXIST").i32(0));
  expect_refused("CPALREAD", "gone", "An error happened during Palette gone read");
  request_session fresh;
  EXPECT_EQ(fresh.ask("CPALLST"), refusal("QRD_INIT is not set"));
}

TEST_F(palettes, with_names_too_long_are_listed_but_not_read) {
  const std::string listed(49, 'n');
  write_file(root_ / "PAL.0", listed + "and more\n1 2 3\n");
  expect_answer("CPALLST", {}, bytes("SPALLST").i32(1).text(listed));
  expect_refused("CPALREAD", bytes(listed), "An error happened during Palette " + listed + " read");
  expect_refused("CPALWRIT", bytes(listed).raw(three(1, 1, 1, 1)),
                 "An error occured during Palette " + listed + " writing");
}

TEST_F(palettes, of_a_study_that_is_gone_are_refused) {
  fs::remove_all(in_study(""));
  expect_refused("CPALLST", {}, "Study is not set");
  expect_refused("CPALWRIT", bytes("x").raw(three(1, 1, 1, 1)), "Study is not set");
  expect_refused("CSCALST", {}, "Study is not set");
  expect_refused("CSCAREAD", "x", "Study is not set");
}

TEST_F(palettes, in_use_by_a_scale_stay) {
  write("used", three(1, 5, 5, 5));
  expect_done("CSCANEW", automatic_scale("scale", "used"));
  expect_refused("CPALDEL", "used", "Cannot delete palette named used as it is used by a Color Scale.");
  expect_done("CSCADEL", "scale");
  expect_done("CPALDEL", "used");
  EXPECT_FALSE(fs::exists(in_study("U_COLOR/PAL.0")));
}

}  // namespace
}  // namespace qrd::test
