#include "disk/qd_variable_descriptor.h"
#include "support/catalogue_tree.h"

namespace qrd::test {
namespace {

struct variable_read {
  explicit variable_read(const catalogue_tree& tree, const std::string& content)
      : path(tree.add("DIRE.1/FILE.1/VARI.1", content)) {
    console = console_of([&] { result = qd_variable_descriptor_read(path.c_str(), record); });
    on_disk = read_file(path + "/DESCR");
  }
  std::string path, console, on_disk;
  object_state result = object_state::gone;
  qd_variable_record record;
};

// The first fields of versions below 900.
bytes old_fields(int version, int first_code, int second_code) {
  return bytes().i32(version).text("Var").i32(first_code, 64, second_code, 2, 10, 3);
}

TEST(variable_descriptor, of_this_version_keeps_its_bytes) {
  catalogue_tree tree;
  variable_fields fields = {.name = "X+ Gravity Center", .kind = 7, .unit = "m", .factor = 100};
  variable_read read(tree, fields.bytes_of());
  ASSERT_EQ(read.result, object_state::sound);
  EXPECT_EQ(read.on_disk, fields.bytes_of());
  ASSERT_EQ(qd_variable_descriptor_write(read.path.c_str(), read.record), object_state::sound);
  EXPECT_EQ(read_file(read.path + "/DESCR"), fields.bytes_of());
  // Without the flag of a length the factor isn't kept, and comes back as 1.0.
  read.record.format.length_flag = 0;
  ASSERT_EQ(qd_variable_descriptor_write(read.path.c_str(), read.record), object_state::sound);
  fields.factor = 0;
  EXPECT_EQ(read_file(read.path + "/DESCR"), fields.bytes_of());
  ASSERT_EQ(qd_variable_descriptor_read(read.path.c_str(), read.record), object_state::sound);
  EXPECT_EQ(read.record.format.factor, 1.0);
  EXPECT_EQ(read.record.format.length_flag, 0);
}

TEST(variable_descriptor, of_900_to_1099_changes_its_version_only) {
  catalogue_tree tree;
  for (int version : {900, 950, 1099, 1101}) {
    variable_fields fields = {.type = 1, .kind = 16, .bit_length = 80, .implicit = 3, .unit = "0123456789"};
    variable_read read(tree, fields.bytes_of(version));
    ASSERT_EQ(read.result, object_state::sound);
    EXPECT_EQ(read.record.implicit, 3);
    EXPECT_STREQ(read.record.format.unit, "0123456789");
    EXPECT_EQ(read.on_disk, fields.bytes_of(std::max(version, 1100)));
  }
}

TEST(variable_descriptor, below_900_has_codes) {
  catalogue_tree tree;
  struct {
    int first, second, type, kind, implicit;
  } rows[] = {{4, 0, 0, 0, 0}, {5, 0, 1, 0, 0}, {13, 0, 2, 0, 0}, {1, 0, 0, 7, 0},
              {2, 0, 0, 8, 0}, {3, 1, 0, 9, 1}, {4, 1, 0, 0, 1},  {4, 2, 0, 1, 1},
              {4, 3, 0, 2, 1}, {4, 4, 0, 3, 1}, {4, 5, 0, 4, 1},  {4, 6, 0, 5, 1},
              {4, 7, 0, 6, 1}, {4, 8, 0, 0, 1}, {4, 9, 0, 0, 1},  {4, -1, 0, 0, 1}};
  for (const auto& row : rows) {
    for (int version : {510, 700, 899}) {
      variable_read read(tree, old_fields(version, row.first, row.second).text("m").f64(100).str());
      ASSERT_EQ(read.result, object_state::sound) << row.first << " " << row.second;
      variable_fields now = {
          .type = row.type, .kind = row.kind, .implicit = row.implicit, .unit = "m", .factor = 100};
      EXPECT_EQ(read.on_disk, now.bytes_of()) << row.first << " " << row.second << " " << version;
    }
  }
  for (int code : {0, 6, 7, 12, 14, -4}) {
    std::string old = old_fields(700, code, 0).text("m").f64(100).str();
    variable_read read(tree, old);
    EXPECT_EQ(read.result, object_state::damaged) << code;
    EXPECT_EQ(read.on_disk, old);
  }
}

TEST(variable_descriptor, below_411_has_a_short_unit_and_no_factor) {
  catalogue_tree tree;
  for (int version : {2, 300, 319}) {
    variable_read read(tree, old_fields(version, 4, 0).text("cm  ").str());
    ASSERT_EQ(read.result, object_state::sound) << version;
    EXPECT_STREQ(read.record.format.unit, "cm");
    EXPECT_EQ(read.record.format.factor, 1.0);
    EXPECT_EQ(read.record.format.length_flag, 0);
    EXPECT_EQ(read.on_disk, variable_fields{.unit = "cm"}.bytes_of()) << version;
    EXPECT_FALSE(fs::exists(read.path + "/COMMENT"));
  }
  variable_read blanks(tree, old_fields(300, 4, 0).text("      ").str());
  EXPECT_STREQ(blanks.record.format.unit, "");
  EXPECT_EQ(variable_read(tree, old_fields(300, 4, 0).text("1234567").str()).result, object_state::damaged);
}

TEST(variable_descriptor, of_320_to_509_gives_its_comment_away) {
  catalogue_tree tree;
  std::string comment = "Kept here\nuntil 509.";
  for (int version : {320, 410, 411, 500, 509}) {
    std::string path = tree.folder("DIRE.1/FILE.1/VARI.1");
    write_file(path + "/COMMENT", "An older and longer comment that goes");
    bytes old = old_fields(version, 4, 0);
    version < 411 ? old.text("cm  ") : old.text("cm").f64(1.0);
    variable_read read(tree, old.text(comment).str());
    ASSERT_EQ(read.result, object_state::sound) << version;
    EXPECT_EQ(read_file(path + "/COMMENT"), comment) << version;
    variable_fields now = {.unit = "cm", .factor = version < 411 ? 0.0 : 1.0};
    EXPECT_EQ(read.on_disk, now.bytes_of()) << version;
  }
  variable_read longest(tree, old_fields(500, 4, 0).text("").f64(0).text(std::string(500, 'c')).str());
  ASSERT_EQ(longest.result, object_state::sound);
  EXPECT_EQ(read_file(longest.path + "/COMMENT"), std::string(500, 'c'));
  const bytes without = old_fields(500, 4, 0).text("").f64(0);
  for (const bytes& damaged : {without, bytes(without).text(std::string(501, 'c'))})
    EXPECT_EQ(variable_read(tree, damaged).result, object_state::damaged);
}

TEST(variable_descriptor, whose_comment_cannot_be_kept_stays_old) {
  catalogue_tree tree;
  std::string path = tree.folder("DIRE.1/FILE.1/VARI.1");
  fs::create_directory(path + "/COMMENT");
  std::string old = old_fields(500, 4, 0).text("").f64(0).text("Comment").str();
  variable_read read(tree, old);
  EXPECT_EQ(read.result, object_state::unreadable);
  EXPECT_HAS(
      read.console,
      "Cannot convert variable comment from previous version\nPlease check rights and disk space and run "
      "Velmar again\nVariable descriptor corrupted:\n" +
          path + "\n\n");
  EXPECT_EQ(read.on_disk, old);
}

TEST(variable_descriptor, with_an_automatic_unit_takes_that_of_distances) {
  catalogue_tree tree;
  qu_path_join(units.distance.unit, {"ft"});
  units.distance.factor = 30.48;
  std::string now = variable_fields{.unit = "_auto"}.bytes_of();
  variable_read read(tree, now);
  EXPECT_STREQ(read.record.format.unit, "ft");
  EXPECT_EQ(read.record.format.factor, 30.48);
  EXPECT_EQ(read.record.format.length_flag, 1);
  EXPECT_EQ(read.on_disk, now);
  // An old version is resolved for good.
  variable_read old(tree, old_fields(319, 4, 0).text("_auto ").str());
  EXPECT_EQ(old.record.format.length_flag, 1);
  EXPECT_EQ(old.on_disk, (variable_fields{.unit = "ft", .factor = 30.48}.bytes_of()));
  EXPECT_EQ(variable_read(tree, variable_fields{.unit = "_Auto"}.bytes_of()).record.format.length_flag, 0);
}

TEST(variable_descriptor, in_a_study_without_units_is_no_length) {
  catalogue_tree tree;
  units.kept = false;
  variable_fields fields = {.unit = "m", .factor = 100};
  variable_read read(tree, fields.bytes_of());
  EXPECT_EQ(read.record.format.factor, 100);
  EXPECT_EQ(read.record.format.length_flag, 0);
  EXPECT_EQ(read.on_disk, fields.bytes_of());
  variable_read old(tree, fields.bytes_of(1099));
  fields.factor = 0;
  EXPECT_EQ(old.on_disk, fields.bytes_of());
  units.distance.length_flag = 0;
  units.distance.factor = 1.0;
  EXPECT_EQ(variable_read(tree, variable_fields{.unit = "_auto"}.bytes_of()).record.format.length_flag, 0);
}

TEST(variable_descriptor, damage_is_reported) {
  catalogue_tree tree;
  std::string sound = variable_fields().bytes_of();
  strings damaged = {variable_fields().bytes_of(1),
                     variable_fields().bytes_of(0),
                     variable_fields{.name = std::string(51, 'n')}.bytes_of(),
                     variable_fields{.bit_length = 0}.bytes_of(),
                     variable_fields{.bit_length = -64}.bytes_of(),
                     variable_fields{.bit_length = 2147483647}.bytes_of(),
                     variable_fields{.unit = "0123456789ab"}.bytes_of()};
  for (std::size_t length = 0; length < sound.size(); ++length) damaged.push_back(sound.substr(0, length));
  for (const std::string& content : damaged) {
    variable_read read(tree, content);
    EXPECT_EQ(read.result, object_state::damaged);
    EXPECT_EQ(read.console, "Variable descriptor corrupted:\n" + read.path + "\n\n");
    EXPECT_EQ(read.on_disk, content);
  }
}

TEST(variable_descriptor, oddities_that_do_no_harm_are_read) {
  catalogue_tree tree;
  for (const variable_fields& fields :
       {variable_fields{.type = 77}, variable_fields{.kind = -3}, variable_fields{.kind = 400},
        variable_fields{.bit_length = 6}, variable_fields{.bit_length = 2147483646},
        variable_fields{.unit = "?", .factor = -1.0}}) {
    variable_read read(tree, fields.bytes_of());
    EXPECT_EQ(read.result, object_state::sound) << read.console;
    EXPECT_EQ(read.on_disk, fields.bytes_of());
  }
}

}  // namespace
}  // namespace qrd::test
