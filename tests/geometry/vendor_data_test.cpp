#include "edit/qd_vendor_data.h"
#include "support/formats.h"
#include "support/open_study.h"
#include "support/processes.h"

namespace qrd::test {
namespace {

struct vendor_data_requests : open_study {};

TEST_F(vendor_data_requests, keep_every_type_of_value) {
  expect_done("CVDATWRIT", bytes("bag").i32(3, 0, 7).raw(attributes_of_all_types()));
  EXPECT_EQ(read_file(in_study("VENDOR.0")),
            bytes().i32(520).text("bag").i32(3, 7).raw(attributes_of_all_types()));
  expect_answer("CVDATREAD", bytes("bag").i32(0), bytes("SVDAT").i32(3, 7).raw(attributes_of_all_types()));
  expect_answer("CVDATVERS", bytes("bag").i32(-1), bytes("SVDATVERS").i32(3));
}

TEST_F(vendor_data_requests, belong_to_their_owner) {
  make_points("P", 1);
  expect_done("CVARFNEW", bytes("v").i32(64, 0, 8, 2, 0));
  expect_done("CVARSET", "v");
  for (int scope = 0; scope <= 4; ++scope) {
    expect_answer("CVDATEXIS", bytes("x").i32(scope), bytes("SVDATEXIS").i32(scope > 3 ? 1 : 0));
    expect_done("CVDATWRIT", bytes("x").i32(scope, scope, 0));
    expect_answer("CVDATVERS", bytes("x").i32(scope), bytes("SVDATVERS").i32(scope));
  }
  for (const char* owner : {"VENDOR.0", "QRD/DIRE.1/VENDOR.0", "QRD/DIRE.1/FILE.1/VENDOR.0"})
    EXPECT_TRUE(fs::exists(in_study(owner))) << owner;
  std::snprintf(current_context.variable, sizeof current_context.variable, "None");
  expect_refused("CVDATEXIS", bytes("x").i32(3), "Variable is not set");
  std::snprintf(current_context.directory, sizeof current_context.directory, "None");
  expect_refused("CVDATREAD", bytes("x").i32(3), "Directory is not set");
  std::snprintf(current_context.study, sizeof current_context.study, "None");
  expect_refused("CVDATWRIT", bytes("x").i32(1, 0, 0), "Study is not set");
}

TEST_F(vendor_data_requests, take_the_first_free_number_and_replace) {
  for (const char* name : {"a", "b", "c"}) expect_done("CVDATWRIT", bytes(name).i32(1, 0, 0));
  fs::remove(in_study("VENDOR.0"));
  // The old bag goes first; the new one takes the lowest number.
  expect_done("CVDATWRIT", bytes("c").i32(2, 0, 0));
  EXPECT_EQ(read_file(in_study("VENDOR.0")), bytes().i32(520).text("c").i32(2, 0));
  EXPECT_FALSE(fs::exists(in_study("VENDOR.2")));
  expect_refused("CVDATREAD", bytes("gone").i32(0), "An error occured while reading vendor data");
}

TEST_F(vendor_data_requests, keep_the_old_bag_where_the_disk_is_full) {
  expect_done("CVDATWRIT", bytes("bag").i32(1, 0, 0));
  const std::string before = read_file(in_study("VENDOR.0"));
  {
    file_size_limit full(16);
    expect_refused("CVDATWRIT", bytes("bag").i32(2, 0, 0), "An error occured while writing vendor data");
  }
  EXPECT_EQ(read_file(in_study("VENDOR.0")), before);
  // What the disk doesn't give is no damage.
  fs::create_symlink("/proc/self/mem", in_study("VENDOR.1"));
  expect_answer("CVDATVERS", bytes("bag").i32(0), bytes("SVDATVERS").i32(1));
  expect_refused("CVDATEXIS", bytes("other").i32(0), "An error occured while reading vendor data");
}

TEST_F(vendor_data_requests, wait_for_who_writes_in_the_folder) {
  const auto stored = [](int version) { return bytes().i32(520).text("bag").i32(version, 0).str(); };
  {
    const other_server writer(in_study(""), [&] { write_file(in_study("VENDOR.0"), stored(1)); });
    expect_done("CVDATWRIT", bytes("bag").i32(2, 0, 0));
  }
  EXPECT_EQ(read_file(in_study("VENDOR.0")), stored(2));
  EXPECT_FALSE(fs::exists(in_study("VENDOR.1")));

  // Meanwhile the owner has got another number.
  const std::string owner = in_study("QRD/DIRE.1"), moved = in_study("QRD/DIRE.2");
  {
    const other_server mover(owner, [&] {
      fs::rename(owner, moved);
      fs::create_directory(owner);
    });
    expect_refused("CVDATWRIT", bytes("bag").i32(1, 1, 0), "An error occured while writing vendor data");
  }
  for (const std::string& folder : {owner, moved}) EXPECT_FALSE(fs::exists(folder + "/VENDOR.0"));
}

TEST_F(vendor_data_requests, refuse_what_they_do_not_know) {
  expect_refused("CVDATWRIT", bytes("x").i32(1, 0, 2).text("a").i32(0).text("b").i32(7),
                 "Wrong Vendor Data Type (7)");
  expect_refused("CVDATWRIT", bytes("x").i32(1, 0, 1).text("a").i32(4, -1),
                 "Memory Allocation error for atttribute");
  expect_refused("CVDATWRIT", bytes("x").i32(1, 0, 1).text("a").i32(3, -5),
                 "Memory Allocation error for atttribute");
  expect_refused("CVDATWRIT", bytes("x").i32(1, 0, -1), "Memory Allocation error for atttribute");
  EXPECT_FALSE(fs::exists(in_study("VENDOR.0")));
}

TEST_F(vendor_data_requests, keep_long_arrays) {
  constexpr int count = 9000;
  bytes integers, reals;
  integers.text("a").i32(4, count);
  reals.text("a").i32(5, count);
  for (int i = 0; i < count; ++i) {
    integers.i32(i);
    reals.f64(i + 0.5);
  }
  for (const bytes& body : {integers, reals}) {
    expect_done("CVDATWRIT", bytes("bag").i32(1, 0, 1).raw(body));
    EXPECT_EQ(read_file(in_study("VENDOR.0")), bytes().i32(520).text("bag").i32(1, 1).raw(body));
    expect_answer("CVDATREAD", bytes("bag").i32(0), bytes("SVDAT").i32(1, 1).raw(body));
  }
}

TEST_F(vendor_data_requests, tell_damage) {
  const auto store = [this](const bytes& attributes, int count) {
    write_file(in_study("VENDOR.0"), bytes().i32(520).text("x").i32(1, count).raw(attributes));
  };
  const char* unread = "An error occured while reading vendor data";
  // A text longer than its room, an array that the file doesn't hold, a cut name.
  store(bytes("t").i32(3, 3).text("abc"), 1);
  expect_refused("CVDATREAD", bytes("x").i32(0), unread);
  store(bytes("t").i32(5, 2000000000).f64(1), 1);
  expect_refused("CVDATREAD", bytes("x").i32(0), unread);
  store(bytes("t").i32(4, -1), 1);
  expect_refused("CVDATREAD", bytes("x").i32(0), unread);
  store(bytes(), 2147483647);
  expect_refused("CVDATREAD", bytes("x").i32(0), unread);

  store(bytes("t").i32(9), 1);
  EXPECT_FATAL(ask("CVDATREAD", bytes("x").i32(0)), "qd_vendor_data_read: Wrong Vendor Data Type \\(9\\)");
  store(bytes("t").i32(2, 1), 1);
  EXPECT_FATAL(ask("CVDATREAD", bytes("x").i32(0)), "WARNING: A DATA VENDOR IS CORRUPTED:");
  write_file(in_study("VENDOR.1"), "short");
  EXPECT_FATAL(ask("CVDATEXIS", bytes("another").i32(0)), "VELMAR FILE SYSTEM ACCESS FAILED FOR PATH:");
}

}  // namespace
}  // namespace qrd::test
