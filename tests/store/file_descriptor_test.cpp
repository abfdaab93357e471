#include "disk/qd_directory_descriptor.h"
#include "disk/qd_file_descriptor.h"
#include "disk/qd_grid.h"
#include "disk/qd_variable_descriptor.h"
#include "support/catalogue_tree.h"
#include "support/processes.h"

namespace qrd::test {
namespace {

// Reads the descriptor of DIRE.1/FILE.1 with this content.
struct file_read {
  explicit file_read(const catalogue_tree& tree, const std::string& content)
      : path(tree.add("DIRE.1/FILE.1", content)) {
    console = console_of([&] { result = qd_file_descriptor_read(path.c_str(), record); });
    on_disk = read_file(path + "/DESCR");
  }
  std::string path, console, on_disk;
  object_state result = object_state::gone;
  qd_file_record record;
};

file_fields a_grid() {
  return {"Ore body", 5, 3, 0, {100, -200, 300, 10, 20, 30}, {4, 3, 2}, {30, 10, -5}, "", 24, 512};
}

TEST(directory_descriptor, has_these_bytes) {
  catalogue_tree tree;
  std::string path = tree.folder("DIRE.1");
  // A longer content is replaced by a shorter one.
  for (const char* name : {"A much longer name of it", "Pit"})
    ASSERT_EQ(qd_directory_descriptor_write(path.c_str(), name), object_state::sound);
  EXPECT_EQ(read_file(path + "/DESCR"), std::string("\x00\x00\x04\x4C\x00\x00\x00\x03Pit\x00", 12));
}

TEST(directory_descriptor, of_an_old_version_is_rewritten_and_of_a_later_one_not) {
  catalogue_tree tree;
  name_text name;
  for (int version : {2, 400, 1099, 1101}) {
    const std::string path = tree.add("DIRE.1", bytes().i32(version).text("Mine").raw("rest"));
    ASSERT_EQ(qd_directory_descriptor_read(path.c_str(), name), object_state::sound) << version;
    EXPECT_STREQ(name, "Mine");
    const bytes now =
        version < 1100 ? bytes().i32(1100).text("Mine") : bytes().i32(1101).text("Mine").raw("rest");
    EXPECT_EQ(read_file(path + "/DESCR"), now) << version;
  }
  // 50 characters are legal on disk, and cut in memory.
  const std::string path = tree.add("DIRE.1", bytes().i32(1100).text(std::string(50, 'n')));
  ASSERT_EQ(qd_directory_descriptor_read(path.c_str(), name), object_state::sound);
  EXPECT_EQ(name, std::string(49, 'n'));
}

TEST(directory_descriptor, damage_is_reported) {
  catalogue_tree tree;
  name_text name;
  for (const std::string& content :
       {std::string(), bytes().i32(1).text("Mine").str(), bytes().i32(-7).text("Mine").str(),
        bytes().i32(1100).str(), bytes().i32(1100, 10).raw("Mine").str(),
        bytes().i32(1100).text(std::string(51, 'n')).str(), bytes().i32(1100, -1).raw("Mine").str()}) {
    std::string path = tree.add("DIRE.1", content);
    const auto read = [&] {
      EXPECT_EQ(qd_directory_descriptor_read(path.c_str(), name), object_state::damaged);
    };
    EXPECT_EQ(console_of(read), "Directory descriptor corrupted:\n" + path + "/DESCR\n");
    EXPECT_EQ(read_file(path + "/DESCR"), content);
  }
}

TEST(descriptor, tells_gone_from_damaged_and_from_unreadable) {
  catalogue_tree tree;
  std::string path = tree.folder("DIRE.1/FILE.1/VARI.1");
  name_text name;
  qd_file_record file;
  qd_variable_record variable;
  const auto all_are = [&](object_state wanted) {
    bool are = true;
    console_of([&] {
      are = qd_directory_descriptor_read(path.c_str(), name) == wanted &&
            qd_file_descriptor_read(path.c_str(), file) == wanted &&
            qd_variable_descriptor_read(path.c_str(), variable) == wanted;
    });
    return are;
  };
  // The open that fails tells, whether the folder has gone as well or not.
  EXPECT_TRUE(all_are(object_state::gone));
  write_file(path + "/DESCR", std::string(64, '\0'));
  EXPECT_TRUE(all_are(object_state::damaged));
  fs::remove(path + "/DESCR");
  fs::create_directory(path + "/DESCR");
  EXPECT_TRUE(all_are(object_state::damaged));
  fs::remove_all(path);
  EXPECT_TRUE(all_are(object_state::gone));
  write_file(path, "");
  EXPECT_TRUE(all_are(object_state::gone));
  fs::remove(path);
}

TEST(file_descriptor, of_this_version_keeps_its_bytes) {
  catalogue_tree tree;
  file_fields fields = a_grid();
  fields.link = "Header";
  file_read read(tree, fields.bytes_of());
  ASSERT_EQ(read.result, object_state::sound);
  EXPECT_EQ(read.on_disk, fields.bytes_of());

  // And the writer makes the same ones, also beyond 32 bits; a reader in the old ones still reads those.
  fs::create_hard_link(read.path + "/DESCR", read.path + "/before");
  ASSERT_EQ(qd_file_descriptor_write(read.path.c_str(), read.record), object_state::sound);
  EXPECT_EQ(read_file(read.path + "/DESCR"), fields.bytes_of());
  qd_file_record large = read.record;
  fields.samples = large.sample_count = 5'000'000'000;
  fields.allocated = large.allocated_samples = 5'000'000'512;
  ASSERT_EQ(qd_file_descriptor_write(read.path.c_str(), large), object_state::sound);
  EXPECT_EQ(read_file(read.path + "/DESCR"), fields.bytes_of());
  EXPECT_EQ(read_file(read.path + "/before"), read.on_disk);
}

TEST(file_descriptor, of_an_old_version_becomes_a_new_one) {
  catalogue_tree tree;
  for (int version : {2, 190, 199, 200, 500, 519, 520, 600, 899, 900, 950, 1099, 1200}) {
    SCOPED_TRACE(version);
    file_fields fields = a_grid();
    const file_read read(tree, fields.bytes_of(version));
    if (version < 200) fields.angles[2] = 0;
    ASSERT_EQ(read.result, object_state::sound) << read.console;
    EXPECT_EQ(read.record.grid.angle3, fields.angles[2]);
    EXPECT_EQ(read.record.allocated_samples, 512);
    EXPECT_EQ(read.on_disk, fields.bytes_of(std::max(version, 1100)));
  }
}

TEST(file_descriptor, of_two_dimensions_has_no_third_one_in_memory) {
  catalogue_tree tree;
  for (int version : {1099, 1100}) {
    file_fields fields = a_grid();
    fields.dimension = 2;
    fields.nodes[2] = 0;
    file_read read(tree, fields.bytes_of(version));
    ASSERT_EQ(read.result, object_state::sound);
    EXPECT_EQ(read.record.grid.nz, 1);
    EXPECT_EQ(read.record.grid.dz, 0);
    EXPECT_EQ(read.record.grid.z0, 0);
    EXPECT_EQ(read.on_disk, fields.bytes_of());
  }
}

TEST(file_descriptor, below_520_loses_the_derived_files) {
  catalogue_tree tree;
  for (int version : {519, 520}) {
    const std::string path = tree.folder("DIRE.1/FILE.1");
    for (const char* derived : {"/RPD", "/PTD"}) write_file(path + derived, "x");
    ASSERT_EQ(file_read(tree, file_fields().bytes_of(version)).result, object_state::sound);
    for (const char* derived : {"/RPD", "/PTD"}) EXPECT_EQ(fs::exists(path + derived), version == 520);
  }
}

file_fields some_lines() {
  return {.name = "Traces", .organisation = 2, .dimension = 2, .lines = 3, .samples = 9, .allocated = 512};
}

TEST(line_table, below_520_gets_wider_entries) {
  catalogue_tree tree;
  const std::string table = tree.folder("DIRE.1/FILE.1") + "/LINE";
  const struct {
    int version, organisation, lines, samples;
    bytes before;
    std::vector<std::int64_t> entries;
  } rows[] = {{500, 2, 3, 9, bytes().i32(1, 4, 6, 10), {1, 4, 6, 10}},
              {500, 3, 3, 9, bytes().i32(1, 4, 6, 10), {1, 4, 6, 10}},
              {500, 2, 2, 9, bytes().i32(1, 4, 10), {1, 4, 10}},
              {500, 2, 0, 0, bytes().i32(1), {1}},
              // What an interrupted upgrade has widened is left alone.
              {519, 2, 3, 9, bytes().i64(1, 4, 6, 10), {1, 4, 6, 10}}};
  for (const auto& row : rows) {
    write_file(table, row.before);
    file_fields fields = some_lines();
    fields.organisation = row.organisation;
    fields.lines = row.lines;
    fields.samples = row.samples;
    const file_read read(tree, fields.bytes_of(row.version));
    ASSERT_EQ(read.result, object_state::sound) << read.console;
    EXPECT_EQ(read_file(table), line_table(row.entries));
    EXPECT_EQ(read.on_disk, fields.bytes_of());
  }
}

TEST(line_table, is_widened_beside_or_not_at_all) {
  catalogue_tree tree;
  std::string path = tree.folder("DIRE.1/FILE.1");
  const std::string narrow = bytes().i32(1, 4, 6, 10).str(), old = some_lines().bytes_of(500);
  write_file(path + "/LINE", narrow);
  fs::create_hard_link(path + "/LINE", path + "/before");
  tree.add("DIRE.1/FILE.1", old);
  {
    file_size_limit full(24);
    qd_file_record record;
    EXPECT_EQ(qd_file_descriptor_read(path.c_str(), record), object_state::unreadable);
  }
  EXPECT_EQ(read_file(path + "/DESCR"), old);
  EXPECT_EQ(read_file(path + "/LINE"), narrow);
  EXPECT_EQ(file_read(tree, old).result, object_state::sound);
  EXPECT_EQ(read_file(path + "/LINE"), bytes().i64(1, 4, 6, 10));
  EXPECT_EQ(read_file(path + "/before"), narrow) << "a reader in it still reads the old table";
}

// Another server upgrades an object under its lock, and changes it at once.
TEST(old_descriptors, are_read_again_under_the_lock_of_their_upgrade) {
  catalogue_tree tree;
  const std::string file = tree.add("DIRE.1/FILE.1", a_grid().bytes_of(600));
  file_fields renamed = a_grid();
  renamed.link = "Traces";
  {
    other_server other(file, [&] { write_file(file + "/DESCR", renamed.bytes_of()); });
    qd_file_record record;
    ASSERT_EQ(qd_file_descriptor_read(file.c_str(), record), object_state::sound);
    EXPECT_STREQ(record.link_name, "Traces");
  }
  EXPECT_EQ(read_file(file + "/DESCR"), renamed.bytes_of());

  const std::string variable =
      tree.add("DIRE.1/FILE.1/VARI.1", variable_fields{.name = "au", .bit_length = 32}.bytes_of(1000));
  const std::string changed =
      variable_fields{.name = "au", .bit_length = 32, .unit = "km", .factor = 1e5}.bytes_of();
  {
    other_server other(file, [&] { write_file(variable + "/DESCR", changed); });
    qd_variable_record record;
    ASSERT_EQ(qd_variable_descriptor_read(variable.c_str(), record), object_state::sound);
    EXPECT_STREQ(record.format.unit, "km");
  }
  EXPECT_EQ(read_file(variable + "/DESCR"), changed);
}

TEST(line_table, damaged_below_520_is_reported_and_nothing_is_changed) {
  catalogue_tree tree;
  const std::string table = tree.folder("DIRE.1/FILE.1") + "/LINE";
  const std::string corrupted = "Line descriptor corrupted:\n" + table + "\n";
  const std::string old = some_lines().bytes_of(500);
  for (const bytes& content :
       {bytes(), bytes().i32(1, 4, 6), bytes().i32(1, 6, 4, 10), bytes().i32(2, 4, 6, 10),
        bytes().i32(1, 4, 6, 11), bytes().i32(1, -4, 6, 10)}) {
    write_file(table, content);
    const file_read read(tree, old);
    EXPECT_EQ(read.result, object_state::damaged);
    EXPECT_EQ(read.console, corrupted);
    EXPECT_EQ(read.on_disk, old);
    EXPECT_EQ(read_file(table), content);
  }
  fs::remove(table);
  EXPECT_EQ(file_read(tree, old).console, corrupted);
  EXPECT_FALSE(fs::exists(table));
  // A line count for which there is no memory: the length of the table tells first.
  write_file(table, bytes().i32(1));
  file_fields fields = some_lines();
  fields.lines = 2147483646;
  EXPECT_EQ(file_read(tree, fields.bytes_of(500)).console, corrupted);
}

TEST(file_descriptor, damage_is_reported) {
  catalogue_tree tree;
  std::string sound = a_grid().bytes_of();
  strings damaged = {a_grid().bytes_of(1), a_grid().bytes_of(-2147483647 - 1),
                     a_grid().bytes_of(900).substr(0, a_grid().bytes_of(900).size() - 4)};
  for (std::size_t length = 0; length < sound.size(); ++length) damaged.push_back(sound.substr(0, length));
  auto with = [&](auto change) {
    file_fields fields = a_grid();
    change(fields);
    damaged.push_back(fields.bytes_of());
  };
  with([](file_fields& f) { f.name = std::string(51, 'n'); });
  with([](file_fields& f) { f.link = std::string(51, 'n'); });
  for (const std::int64_t samples : {std::int64_t{-1}, INT64_MAX, INT64_MIN})
    with([&](file_fields& f) { f.samples = samples; });
  for (const std::int64_t capacity : {std::int64_t{-512}, INT64_MAX})
    with([&](file_fields& f) { f.allocated = capacity; });
  for (const int dimension : {0, 4, -2147483647}) with([&](file_fields& f) { f.dimension = dimension; });
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (const int nodes : {0, -3, 2147483647}) with([&](file_fields& f) { f.nodes[axis] = nodes; });
  with([](file_fields& f) { f.nodes = {2147483646, 2147483646, 3}; });
  with([](file_fields& f) { f.organisation = 2, f.lines = -1; });
  with([](file_fields& f) { f.organisation = 3, f.lines = 2147483647; });
  for (const std::string& content : damaged) {
    file_read read(tree, content);
    EXPECT_EQ(read.result, object_state::damaged);
    EXPECT_EQ(read.console, "File descriptor corrupted:\n" + read.path + "\n");
    EXPECT_EQ(read.on_disk, content);
  }
}

TEST(file_descriptor, oddities_that_do_no_harm_are_read) {
  catalogue_tree tree;
  auto expect_read = [&](const char* what, auto change) {
    file_fields fields = a_grid();
    change(fields);
    file_read read(tree, fields.bytes_of());
    EXPECT_EQ(read.result, object_state::sound) << what << read.console;
    EXPECT_EQ(read.on_disk, fields.bytes_of()) << what;
  };
  expect_read("organisation", [](file_fields& f) { f.organisation = 42; });
  expect_read("one dimension", [](file_fields& f) { f.dimension = 1; });
  expect_read("nodes of an empty grid", [](file_fields& f) { f.nodes = {0, -1, 5}, f.samples = 0; });
  expect_read("nodes of points", [](file_fields& f) { f.organisation = 1, f.nodes = {-1, -1, -1}; });
  expect_read("lines of points", [](file_fields& f) { f.organisation = 1, f.lines = -1; });
  expect_read("more nodes than samples", [](file_fields& f) { f.samples = 5; });
  expect_read("fewer nodes than samples", [](file_fields& f) { f.samples = 500; });
  expect_read("little room", [](file_fields& f) { f.allocated = 0; });
  expect_read("odd room", [](file_fields& f) { f.allocated = 100; });
  expect_read("most samples", [](file_fields& f) { f.samples = f.allocated = INT64_MAX / 512 * 512; });
  expect_read("no number", [](file_fields& f) { f.angles[0] = f.lengths[2] = std::nan(""); });
}

TEST(rotation, by_right_angles_is_exact) {
  // An angle of next to nothing still says that the grid is rotated; beside it the functions speak.
  const double small = 1.1e-5 * 3.141592653589793 / 180.0;
  for (const auto& [angle, m0, m1] : {std::array{90., 0., 1.},
                                      {90 + 9e-6, 0, 1},
                                      {90 - 9e-6, 0, 1},
                                      {180, -1, 0},
                                      {-180, -1, 0},
                                      {-90, 0, -1},
                                      {9e-6, 1, 0},
                                      {1.1e-5, std::cos(small), std::sin(small)}}) {
    qd_grid_record grid;
    grid.angle1 = angle;
    qd_grid_compute(grid);
    EXPECT_EQ(grid.rotated, 1) << angle;
    EXPECT_EQ((std::array{grid.m[0], grid.m[1], grid.m[3]}), (std::array{m0, m1, -m1})) << angle;
  }
}

}  // namespace
}  // namespace qrd::test
