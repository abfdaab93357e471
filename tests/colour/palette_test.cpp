#include <filesystem>

#include "support/open_study.h"

namespace qrd::test {
namespace {

class palettes : public open_study {
 protected:
  static bytes three(int count, int red, int green, int blue) {
    bytes body;
    body.i32(count);
    for (int value : {red, green, blue})
      for (int i = 0; i < count; ++i) body.i32(value);
    return body;
  }
  void write(const std::string& name, const bytes& body) {
    expect_done("CPALWRIT", bytes().text(name).raw(body.str()));
  }
};

TEST_F(palettes, are_text_files_numbered_from_0) {
  write("one", three(2, 1, 20, 255));
  EXPECT_EQ(read_file(in_study("U_COLOR/PAL.0")), "one\n  1  20 255\n  1  20 255\n");
  write("two", three(0, 0, 0, 0));
  EXPECT_EQ(read_file(in_study("U_COLOR/PAL.1")), "two\n");
  expect_answer("CPALREAD", bytes().text("one"), bytes().text("SPAL").raw(three(2, 1, 20, 255).str()));
  write("one", three(256, 7, 8, 9));
  expect_answer("CPALREAD", bytes().text("one"), bytes().text("SPAL").raw(three(256, 7, 8, 9).str()));
  expect_done("CPALDEL", bytes().text("one"));
  // A number is taken by any entry, readable or not.
  std::filesystem::create_symlink("nowhere", in_study("U_COLOR/PAL.0"));
  write("three", three(1, 0, 0, 0));
  EXPECT_TRUE(std::filesystem::exists(in_study("U_COLOR/PAL.2")));
}

TEST_F(palettes, of_the_user_hide_those_of_the_system) {
  write_file(root_ / "PAL.4", "Grades\r\n 10 20 30 40\n50 60 junk");
  write_file(root_ / "PAL.5", "System grey\n");
  write_file(root_ / "XPAL.6", "not listed\n");
  expect_answer("CPALLST", bytes(), bytes().text("SPALLST").i32(2).text("Grades").text("System grey"));
  expect_answer("CPALREAD", bytes().text("Grades"), bytes().text("SPAL").i32(2, 10, 40, 20, 50, 30, 60));
  expect_refused("CPALWRIT", bytes().text("Grades").raw(three(1, 1, 1, 1).str()),
                 "An error occured during Palette Grades writing");
  expect_refused("CPALDEL", bytes().text("Grades"), "An error happened during Palette deletion");
  write_file(in_study("U_COLOR/PAL.0"), "Grades\n  1   2   3\n");
  expect_answer("CPALLST", bytes(), bytes().text("SPALLST").i32(2).text("Grades").text("System grey"));
  expect_answer("CPALREAD", bytes().text("Grades"), bytes().text("SPAL").raw(three(1, 1, 2, 3).str()));
}

TEST_F(palettes, refuse_what_would_not_come_back) {
  write("kept", three(1, 5, 5, 5));
  const std::string before = read_file(in_study("U_COLOR/PAL.0"));
  expect_refused("CPALWRIT", bytes().text("kept").raw(three(257, 1, 1, 1).str()),
                 "Palettes cannot have more than 256 colors");
  expect_refused("CPALWRIT", bytes().text("kept").i32(-3), "Palettes cannot have more than 256 colors");
  for (int bad : {256, -1})
    expect_refused("CPALWRIT", bytes().text("kept").raw(three(1, 1, bad, 1).str()),
                   "RGBs for Palettes must be in the [0-255] interval");
  EXPECT_EQ(read_file(in_study("U_COLOR/PAL.0")), before);
  for (const char* name : {"None", "a\nb", "a\rb"})
    expect_refused("CPALWRIT", bytes().text(name).raw(three(1, 1, 1, 1).str()),
                   std::string("Cannot create new Palette named ") + name + ".");
  expect_answer("CPALXIST", bytes().text("kept"), bytes().text("SEXIST").i32(1));
  expect_answer("CPALXIST", bytes().text("None"), bytes().text("SEXIST").i32(0));
  expect_refused("CPALREAD", bytes().text("gone"), "An error happened during Palette gone read");
  request_session fresh;
  EXPECT_EQ(fresh.ask("CPALLST"), refusal("QRD_INIT is not set"));
}

TEST_F(palettes, with_names_too_long_are_listed_but_not_read) {
  const std::string listed(49, 'n');
  write_file(root_ / "PAL.0", listed + "and more\n1 2 3\n");
  expect_answer("CPALLST", bytes(), bytes().text("SPALLST").i32(1).text(listed));
  expect_refused("CPALREAD", bytes().text(listed), "An error happened during Palette " + listed + " read");
  expect_refused("CPALWRIT", bytes().text(listed).raw(three(1, 1, 1, 1).str()),
                 "An error occured during Palette " + listed + " writing");
}

TEST_F(palettes, of_a_study_that_is_gone_are_refused) {
  std::filesystem::remove_all(in_study(""));
  expect_refused("CPALLST", bytes(), "Study is not set");
  expect_refused("CPALWRIT", bytes().text("x").raw(three(1, 1, 1, 1).str()), "Study is not set");
  expect_refused("CSCALST", bytes(), "Study is not set");
  expect_refused("CSCAREAD", bytes().text("x"), "Study is not set");
}

TEST_F(palettes, in_use_by_a_scale_stay) {
  write("used", three(1, 5, 5, 5));
  bytes scale;
  scale.text("scale").i32(0, 0).text("used").i32(0);
  for (int i = 0; i < 15; ++i) scale.i32(0);
  scale.text("").text("").i32(0, 0, 0, 0);
  expect_done("CSCANEW", scale);
  expect_refused("CPALDEL", bytes().text("used"),
                 "Cannot delete palette named used as it is used by a Color Scale.");
  expect_done("CSCADEL", bytes().text("scale"));
  expect_done("CPALDEL", bytes().text("used"));
  EXPECT_FALSE(std::filesystem::exists(in_study("U_COLOR/PAL.0")));
}

}  // namespace
}  // namespace qrd::test
