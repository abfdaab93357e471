#include "support/formats.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

struct scales : open_study {
  std::string stored(int number) const {
    return read_file(in_study("CSCALE/CSCA." + std::to_string(number)));
  }
  void store(int number, const bytes& file) const {
    write_file(in_study("CSCALE/CSCA." + std::to_string(number)), file);
  }
};

bytes& same(bytes& out, int count, int value) {
  for (int i = 0; i < count; ++i) out.i32(value);
  return out;
}

// What ends every file of the newest version: legend, labels, flags, values, unit.
bytes& tail(bytes& file, int integer_bounds) {
  file.i32(1, 1).text("Other").i32(1).text("N/A").i32(integer_bounds, 1);
  file.f64(missing_double, missing_double, missing_double).i32(1);
  return file.i32(2, 10, 2, 0).text("").f64(1);
}

// A description up to its flags, with one grey value in each colour.
bytes description(int type, const std::string& palette, int classes, int facies_intervals = 0,
                  int integer_bounds = 0, int manual = 0, int facies = 0) {
  bytes out = bytes().i32(type, 1).text(palette).i32(classes);
  for (int grey : {10, 30, 20, 25}) same(out, 3, grey);
  return out.i32(4, 5, 6).text("dropped").text("too").i32(facies_intervals, integer_bounds, manual, facies);
}

TEST_F(scales, manual_keeps_shared_bounds_as_intervals) {
  bytes sent = description(2, "Grades", 3, 0, 0, 1, 0);
  sent.f64(0, 10, 20, 40).i32(2, 1, 0);
  expect_done("CSCANEW", bytes("M").raw(sent));

  bytes file = bytes().i32(501003).text("M").text("Grades").i32(0, 2, 3, 3);
  file.f64(0, 10, 20, 10, 20, 40).i32(2, 1, 0, 4, 5, 6);
  same(same(same(file, 3, 10), 3, 20), 3, 30);
  EXPECT_EQ(stored(0), tail(file, 0));

  bytes answer = bytes("SSCALE").i32(2, 0).text("Grades").i32(3);
  same(same(same(same(answer, 3, 10), 3, 30), 3, 20), 3, -1);
  answer.i32(4, 5, 6).text("").text("").i32(0, 0, 1, 0);
  answer.f64(0, 10, 20, 40).i32(2, 1, 0);
  expect_answer("CSCAREAD", "M", answer);
}

TEST_F(scales, facies_keeps_intervals_colours_and_labels) {
  const std::string long_label(60, 'l');
  bytes sent = description(3, "None", 2, 3, 1, 0, 1);
  sent.f64(1, 4, 7, 3, 6, 9).i32(0, 1, 99);
  for (int i = 1; i <= 6; ++i) sent.i32(i);
  sent.text("sand").text(long_label);
  expect_done("CSCANEW", bytes("F").raw(sent));

  bytes file = bytes().i32(501003).text("F").text("None").i32(0, 3, 2, 3);
  file.f64(1, 4, 7, 3, 6, 9).i32(0, 1, 1, 2, 0, 2);
  same(same(same(file, 3, 10), 3, 25), 3, 0);
  for (int i = 1; i <= 6; ++i) file.i32(i);
  file.text("sand").text(long_label.substr(0, 49));
  EXPECT_EQ(stored(0), tail(file, 1));

  bytes answer = bytes("SSCALE").i32(3, 0).text("None").i32(2);
  same(same(same(same(answer, 3, 10), 3, -1), 3, -1), 3, 25);
  answer.i32(2, 0, 2).text("").text("").i32(3, 1, 0, 1);
  answer.f64(1, 4, 7, 3, 6, 9).i32(0, 1, 1);
  for (int i = 1; i <= 6; ++i) answer.i32(i);
  answer.text("sand").text(long_label.substr(0, 49));
  expect_answer("CSCAREAD", "F", answer);
}

TEST_F(scales, automatic_and_classes_have_no_intervals) {
  expect_done("CSCANEW", bytes("A").raw(description(0, "P", 0)));
  expect_done("CSCANEW", bytes("C").raw(description(1, "P", 3)));
  bytes file = bytes().i32(501003).text("C").text("P").i32(0, 1, 3, 0, 2, 0, 2);
  same(same(file, 3, 10), 6, 0);
  EXPECT_EQ(stored(1), tail(file, 0));
  expect_answer("CSCALST", {}, bytes("SSCALST").i32(2).text("A").text("C"));
  expect_answer("CSCAXIST", "None", bytes("SEXIST").i32(0));
  // Replaced under another number: its own goes first, then the lowest free one is taken.
  expect_done("CSCADEL", "A");
  expect_done("CSCANEW", bytes("C").raw(description(0, "Q", 1)));
  EXPECT_TRUE(fs::exists(in_study("CSCALE/CSCA.0")));
  EXPECT_FALSE(fs::exists(in_study("CSCALE/CSCA.1")));
}

TEST_F(scales, of_old_versions_read_the_same) {
  for (int version : {500000, 501000, 501001, 501002}) {
    const bytes file = old_scale(version, "old", "P");
    store(0, file);
    bytes answer = bytes("SSCALE").i32(2, 0).text("P").i32(3, 1, 2, 3, 7, 8, 9, 4, 5, 6);
    same(answer, 3, -1).i32(2, 0, 2).text("").text("").i32(0, 0, 1, 0);
    answer.f64(0, 10, 20, 40).i32(2, 1, 0);
    SCOPED_TRACE(version);
    expect_answer("CSCAREAD", "old", answer);
    EXPECT_EQ(stored(0), file);
  }
}

TEST_F(scales, read_only_is_neither_deleted_nor_replaced) {
  bytes file = bytes().i32(501003).text("L").text("P").i32(1, 0, 2, 0, 2, 0, 2);
  store(0, tail(same(file, 9, 0), 0));
  expect_refused("CSCADEL", "L", "An error happened during Color Scale deletion");
  expect_done("CSCANEW", bytes("L").raw(description(0, "Q", 1)));
  EXPECT_EQ(stored(0), file);
  EXPECT_TRUE(fs::exists(in_study("CSCALE/CSCA.1")));
}

TEST_F(scales, refuse_incomplete_descriptions) {
  for (int type : {1, 2, 3})
    expect_refused("CSCANEW", bytes("x").raw(description(type, "P", 0)),
                   "Number of Classes cannot be negative or null for non-automatic color scales");
  expect_refused("CSCANEW", bytes("x").raw(description(2, "P", 2)),
                 "Manual Color Scale must have bounds and pal_ind defined.");
  expect_refused(
      "CSCANEW", bytes("x").raw(description(3, "P", 2, 0, 0, 0, 1)),
      "Facies Color Scale must have facies_int_min, facies_int_max, facies_pal_ind, facies_rgbs and "
      "facies_labels defined.");
  expect_refused("CSCAREAD", "x", "Cannot read Color Scale named x.");
  // A label has the limit of other texts.
  bytes labels = description(3, "P", 1, 1, 0, 0, 1);
  labels.f64(0, 1).i32(0, 1, 2, 3).text(std::string(10000, 'l'));
  expect_answer("CSCANEW", bytes("x").raw(labels), {});
  request_session fresh;
  EXPECT_EQ(fresh.ask("CSCANEW", bytes("x").raw(description(1, "P", 0))), refusal("QRD_INIT is not set"));
  EXPECT_TRUE(fs::is_empty(in_study("CSCALE")));
}

TEST_F(scales, that_lie_about_their_counts_do_no_harm) {
  // Fewer intervals than classes, on disk as it stands.
  bytes fewer = bytes().i32(501003).text("fewer").text("P").i32(0, 2, 3, 1).f64(0, 1).i32(0, 2, 0, 2);
  store(0, tail(same(fewer, 9, 0), 0));
  expect_refused("CSCAREAD", "fewer", "Cannot read Color Scale named fewer.");
  bytes huge = bytes().i32(501003).text("huge").text("P").i32(0, 2, 3, 2147483646).f64(0, 1);
  store(1, huge);
  EXPECT_FATAL(ask("CSCAREAD", "huge"), "WARNING: A COLOR SCALE FILE IS CORRUPTED:");
}

}  // namespace
}  // namespace qrd::test
