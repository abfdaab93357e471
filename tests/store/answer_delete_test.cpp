#include "disk/qd_handles.h"
#include "edit/qd_manage_variable.h"
#include "samples/qd_io.h"
#include "samples/qd_open_variable.h"
#include "support/open_study.h"
#include "support/processes.h"

namespace qrd::test {
namespace {

struct deletion : open_study {};

TEST_F(deletion, new_directory_refuses_in_order) {
  expect_refused("CDIRNEW", "D", "Directory S: D already exists");
  console_of([&] {
    expect_refused("CDIRNEW", "None", "Cannot create directory S: None");
    expect_refused("CDIRNEW", "a[b", "Cannot create directory S: a[b");
  });
  expect_done("CDIRNEW", "E");
  EXPECT_STREQ(current_context.directory, "D");
  set_current_study(no_name);
  expect_refused("CDIRNEW", "F", "Study is not set");
}

TEST_F(deletion, directory) {
  make_points("P", 3);
  expect_done("CDIRDEL");
  EXPECT_EQ(chosen(), "S None None None None -1");
  EXPECT_FALSE(fs::exists(in_study("QRD/DIRE.1")));
  expect_refused("CDIRDEL", {}, "Current Directory is not set");
  // Another server was quicker.
  set_current_directory("D");
  console_of([&] { expect_refused("CDIRDEL", {}, "An error happened during Directory deletion"); });
  EXPECT_STREQ(current_context.directory, "None");
}

TEST_F(deletion, file) {
  make_points("P", 3);
  expect_done("CFILEDEL");
  EXPECT_EQ(chosen(), "S D None None None -1");
  EXPECT_FALSE(fs::exists(in_file(1, "")));
  expect_refused("CFILEDEL", {}, "Current File is not set");
  set_current_file("P");
  console_of([&] { expect_refused("CFILEDEL", {}, "An error happened during File deletion"); });
}

TEST_F(deletion, variable) {
  make_points("P", 3);
  expect_refused("CVARDEL", {}, "Current Variable is not set");
  expect_done("CVARSET", "SN+ Sample Number (READONLY)");
  expect_refused("CVARDEL", {}, "Cannot delete implicit Variable SN+ Sample Number (READONLY)");
  select_samples("sel", {1, 0, 1});
  // A request may have left the selection open; it goes with its variable.
  qd_variable_handle left;
  ASSERT_TRUE(qd_variable_select("D", "P", "sel", UNIT_NONE, left));
  expect_done("CVARSET", "sel");
  expect_done("CVARDEL");
  EXPECT_EQ(chosen(), "S D P None None -1");
  EXPECT_EQ(qd_entry(left.entry), nullptr);
  EXPECT_FALSE(fs::exists(in_file(1, "VARI.4")));
  set_current_variable("sel");
  expect_refused("CVARDEL", {}, "Cannot get info on Variable sel");
}

// What may not be deleted stays as it was, and the console tells what forbids it.
TEST_F(deletion, what_is_in_use_stays) {
  make_points("P", 3);
  select_samples("sel", {1, 0, 1});
  expect_done("CVARSET", "sel");
  const std::string folders[] = {in_file(1, "VARI.4"), in_study("QRD/DIRE.1/FILE.1"), in_study("QRD/DIRE.1")};
  std::string said;
  {
    const lock_holder other({folders[0], folders[1], folders[2]});
    said = console_of([&] {
      expect_refused("CVARDEL", {}, "An error happened during Variable deletion");
      expect_refused("CFILEDEL", {}, "An error happened during File deletion");
      expect_refused("CDIRDEL", {}, "An error happened during Directory deletion");
    });
  }
  for (const std::string& folder : folders)
    EXPECT_HAS(said, "Unable to delete directory \"" + folder + "\": ");
  expect_done("CDIRSET", "D");
  expect_done("CFILESET", "P");
  expect_done("CVARSET", "sel");
  expect_done("CVARDEL");
}

TEST_F(deletion, variable_without_handles_has_no_answer) {
  make_points("P", 3);
  select_samples("sel", {1, 0, 1});
  expect_done("CVARSET", "sel");
  struct rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  const int next = dup(0);
  close(next);
  const struct rlimit none = {static_cast<rlim_t>(next), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  std::string answered = "none";
  answered = ask("CVARDEL");
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(answered, "");
  EXPECT_EQ(client_.status(), -1);
  EXPECT_TRUE(fs::exists(in_file(1, "VARI.4/DESCR")));
}

TEST_F(deletion, macro_column_that_does_not_exist) {
  make_points("P", 3);
  ASSERT_TRUE(qd_create_variable("D", "P", "Au[xxxxx]", VAR_MACRO, KIND_PLAIN, 8, nullptr));
  set_current_variable("Au[00012]");
  expect_refused("CVARDEL", {}, "Cannot get info on Variable Au[00012]");
  EXPECT_TRUE(fs::exists(in_file(1, "VARI.4")));
}

}  // namespace
}  // namespace qrd::test
