#include <gtest/gtest.h>

#include <filesystem>

#include "samples/qd_select.h"
#include "store/qd_manage.h"
#include "support/console.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

class Delete : public open_study {};

TEST_F(Delete, NewDirectoryRefusesInOrder) {
  expect_refused("CDIRNEW", bytes().text("D"), "Directory S: D already exists");
  console_of([&] {
    expect_refused("CDIRNEW", bytes().text("None"), "Cannot create directory S: None");
    expect_refused("CDIRNEW", bytes().text("a[b"), "Cannot create directory S: a[b");
  });
  expect_done("CDIRNEW", bytes().text("E"));
  EXPECT_STREQ(current_context.directory, "D");
  set_current_study(no_name);
  expect_refused("CDIRNEW", bytes().text("F"), "Study is not set");
}

TEST_F(Delete, Directory) {
  make_points("P", 3);
  expect_done("CDIRDEL");
  EXPECT_STREQ(current_context.directory, "None");
  EXPECT_STREQ(current_context.file, "None");
  EXPECT_FALSE(std::filesystem::exists(in_study("QRD/DIRE.1")));
  expect_refused("CDIRDEL", {}, "Current Directory is not set");
  // Another server was quicker.
  set_current_directory("D");
  console_of([&] { expect_refused("CDIRDEL", {}, "An error happened during Directory deletion"); });
  EXPECT_STREQ(current_context.directory, "None");
}

TEST_F(Delete, File) {
  make_points("P", 3);
  expect_done("CFILEDEL");
  EXPECT_STREQ(current_context.directory, "D");
  EXPECT_STREQ(current_context.file, "None");
  EXPECT_FALSE(std::filesystem::exists(in_file(1, "")));
  expect_refused("CFILEDEL", {}, "Current File is not set");
  set_current_file("P");
  console_of([&] { expect_refused("CFILEDEL", {}, "An error happened during File deletion"); });
}

TEST_F(Delete, Variable) {
  make_points("P", 3);
  expect_refused("CVARDEL", {}, "Current Variable is not set");
  expect_done("CVARSET", bytes().text("SN+ Sample Number (READONLY)"));
  expect_refused("CVARDEL", {}, "Cannot delete implicit Variable SN+ Sample Number (READONLY)");
  select_samples("sel", {1, 0, 1});
  // A request may have left the selection open; it goes with its variable.
  qd_variable_handle left;
  ASSERT_EQ(qd_variable_select("D", "P", "sel", UNIT_NONE, left), 1);
  expect_done("CVARSET", bytes().text("sel"));
  expect_done("CVARDEL");
  EXPECT_STREQ(current_context.variable, "None");
  EXPECT_STREQ(current_context.selection, "None");
  EXPECT_EQ(qd_entry(left.entry), nullptr);
  EXPECT_FALSE(std::filesystem::exists(in_file(1, "VARI.4")));
  set_current_variable("sel");
  expect_refused("CVARDEL", {}, "Cannot get info on Variable sel");
}

TEST_F(Delete, MacroColumnThatDoesNotExist) {
  make_points("P", 3);
  ASSERT_EQ(qd_create_variable("D", "P", "Au[xxxxx]", VAR_MACRO, KIND_PLAIN, 8, nullptr), 1);
  set_current_variable("Au[00012]");
  expect_refused("CVARDEL", {}, "Cannot get info on Variable Au[00012]");
  EXPECT_TRUE(std::filesystem::exists(in_file(1, "VARI.4")));
}

}  // namespace
}  // namespace qrd::test
