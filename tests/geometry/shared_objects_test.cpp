// Polygons, wireframes and faults in a tree where others are at work: what a reader finds may have changed
// since it was looked for, and what a writer makes is seen whole or not at all.
#include "edit/qd_fault.h"
#include "edit/qd_polygon.h"
#include "edit/qd_wireframe.h"
#include "samples/qd_io.h"
#include "support/descriptors.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

struct shared_objects : open_study {
  // A polygon "one" and a polygon "two", each a triangle with an edge of a metre at x = 0 and x = 10.
  static bytes two_polygons(const std::string& file) {
    bytes sent = bytes(file).i32(1).f64(0, 0, 0, 0, 0, 0).i64(2);
    sent.text("one").text("").f64(0, 0).i32(3).f64(0, 0, 1, 0, 1, 1);
    return sent.text("two").text("").f64(0, 0).i32(3).f64(10, 0, 11, 0, 11, 1);
  }
  static bytes two_polygons_back() {
    bytes back = bytes("SPOLYGONS").i32(1).f64(0, 0, 0, 11, 1, 1).i64(2);
    back.text("one").text("one").f64(0, 1).i32(3).f64(0, 0, 1, 0, 1, 1);
    return back.text("two").text("two").f64(0, 1).i32(3).f64(10, 0, 11, 0, 11, 1);
  }
  // An object "one" and an object "two" of one triangle each.
  static bytes triangles() {
    bytes objects = bytes().i32(2);
    for (const char* name : {"one", "two"})
      objects.text(name).i32(1, 2, 3, 1, 3, 1).f64(0, 0, 0, 1, 0, 0, 0, 1, 0).i32(0, 1, 2);
    return objects;
  }
  void make_polygons(const std::string& file) {
    expect_done("CPOLYNEW", two_polygons(file));
    expect_done("CFILESET", bytes(file));
  }
  void make_wireframes(const std::string& file) {
    expect_done("CWIRENEW", bytes(file).raw(triangles()));
    expect_done("CFILESET", bytes(file));
  }
  // The content of the one file of the n-th file's folder that was moved aside.
  std::string kept_aside(int number) {
    std::string content;
    for (const std::string& name : names_in(in_file(number, "")))
      if (name.starts_with("B_")) content += read_file(in_file(number, name));
    return content;
  }
};

TEST_F(shared_objects, a_name_variable_is_replaced_by_a_wider_one_under_a_selection) {
  make_polygons("P");
  select_samples("both", {1, 1});
  // Both have the bytes that the other's width asks for.
  const std::string narrow = in_file(1, "VARI.4"), wide = in_file(1, "other");
  constexpr int width = 4000;
  fs::copy(narrow, wide);
  write_file(
      wide + "/DESCR",
      variable_fields{.name = "N+ NAME", .type = VAR_CHAR, .bit_length = 8 * width, .digits = 2}.bytes_of());
  for (const std::string& folder : {narrow, wide})
    write_file(folder + "/DATAVAR", std::string(2 * width, 'n'));
  std::atomic<bool> stop = false;
  std::thread other([&] {
    while (!stop) renameat2(AT_FDCWD, narrow.c_str(), AT_FDCWD, wide.c_str(), RENAME_EXCHANGE);
  });
  constexpr int rounds = 300;
  for (int i = 0; i < rounds; ++i)
    EXPECT_EQ(ask("CPOLYGONS").substr(4, 9), bytes("SPOLYGONS").str().substr(4, 9));
  stop = true;
  other.join();
}

TEST_F(shared_objects, what_a_selection_cannot_tell_keeps_all) {
  make_polygons("P");
  make_wireframes("W");
  const bytes wireframes_back = bytes("SWIREF").raw(triangles());
  const struct {
    const char *file, *request;
    bytes all;
    const char* too_many;
  } rows[] = {
      {"P", "CPOLYGONS", two_polygons_back(), "Cannot get polygon information."},
      {"W", "CWIREREAD", wireframes_back, "Cannot get wireframe information: Too much files opened."}};
  int number = 0;
  for (const auto& row : rows) {
    expect_done("CFILESET", bytes(row.file));
    select_samples("second", {0, 1});
    EXPECT_NE(ask(row.request), row.all.str());
    // A family of selections without an index selects nothing.
    const std::string family = in_file(++number, "VARI.20");
    fs::create_directory(family);
    write_file(family + "/DESCR",
               variable_fields{.name = "S[xxxxx]", .type = VAR_MACRO, .bit_length = 1}.bytes_of());
    write_file(family + "/MACRO", macro_bytes({1}));
    write_file(family + "/DATAVAR", std::string(64, '\xC0'));
    set_current_selection("S[xxxxx]");
    expect_answer(row.request, {}, row.all);
    // Every place of the table of selected variables is taken, or all but one.
    set_current_selection("second");
    qd_selected_entry other;
    for (int free : {0, 1}) {
      std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), &other);
      if (free == 1) sample_tables.selected[7] = nullptr;
      expect_refused(row.request, {}, row.too_many);
      std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), nullptr);
    }
    // The names themselves are damaged; are numbers; are gone.
    const std::string names = in_file(number, number == 1 ? "VARI.4" : "VARI.5");
    write_file(names + "/DATAVAR", "on");
    expect_answer(row.request, {}, row.all);
    write_file(names + "/DESCR", variable_fields{.name = "N+ NAME", .bit_length = 8}.bytes_of());
    expect_answer(row.request, {}, row.all);
    fs::remove_all(names);
    expect_answer(row.request, {}, row.all);
  }
}

TEST_F(shared_objects, are_made_whole_or_not_at_all) {
  bytes big;
  constexpr int corners = 1000;
  big.text("P").i32(1).f64(0, 0, 0, 0, 0, 0).i64(1).text("round").text("").f64(0, 0).i32(corners);
  for (int i = 0; i < corners; ++i) big.f64(std::cos(i * 0.006), std::sin(i * 0.006));
  bytes mesh = bytes("W").i32(1).text("many").i32(0, 0, 0, 1, corners, 1);
  for (int i = 0; i < 3 * corners; ++i) mesh.f64(i);
  mesh.i32(0, 1, 2);
  const std::string directory = in_study("QRD/DIRE.1");
  {
    // The data files fit, the geometry doesn't.
    file_size_limit disk(8000);
    expect_refused("CPOLYNEW", big, "Cannot create file S: P/P");
    expect_refused("CWIRENEW", mesh, "Cannot create file S: D/W");
  }
  EXPECT_EQ(names_in(directory), (strings{"DESCR"}));
  {
    // Nor do the samples.
    file_size_limit disk(1000);
    expect_refused("CPOLYNEW", two_polygons("P"), "Cannot create file S: P/P");
    expect_refused("CWIRENEW", bytes("W").raw(triangles()), "Cannot create file S: D/W");
  }
  EXPECT_EQ(names_in(directory), (strings{"DESCR"}));
  // A full table of selected variables is no reason: nothing of the file is selected.
  qd_selected_entry other;
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), &other);
  expect_done("CPOLYNEW", big);
  expect_done("CWIRENEW", mesh);
  std::fill(std::begin(sample_tables.selected), std::end(sample_tables.selected), nullptr);
  // Another server was quicker.
  auto system = qu_polygon_system_new();
  EXPECT_FALSE(qd_polygon_new("D", "P", *system));
  EXPECT_EQ(names_in(directory), (strings{"DESCR", "FILE.1", "FILE.2"}));
}

TEST_F(shared_objects, that_have_just_gone_are_refused) {
  make_polygons("P");
  fs::remove_all(in_file(1, ""));
  found_file gone = {"D", "P"}, bare = {"D", "Q"};
  EXPECT_EQ(qd_find_geometry(gone), geometry::no_file);
  make_points("Q", 1);
  std::unique_ptr<fault_system> faults;
  ASSERT_EQ(qd_find_geometry(bare), geometry::read);
  EXPECT_EQ(qd_fault_read(bare, faults), geometry::none);
  // What has no file behind its name is no companion, and stays.
  for (const char* name : {"POLYGON", "WIREFRAME", "FAULT"}) fs::create_directory(in_file(1, name));
  expect_refused("CPOLYGONS", {}, "Cannot read polygons.");
  expect_refused("CWIREREAD", {}, "Cannot read wireframes.");
  expect_refused("CFAULTS", bytes().i32(1), "Q is not a faulted file.");
  EXPECT_TRUE(fs::exists(in_file(1, "FAULT")));
  // Nor is that of another file, which has the number now.
  fs::remove(in_file(1, "POLYGON"));
  write_file(in_file(1, "POLYGON"), "another's");
  EXPECT_EQ(companion_reader(in_file(1, "POLYGON").c_str(), "P").opened(), companion_reader::state::absent);
  EXPECT_EQ(companion_reader(in_file(1, "POLYGON").c_str(), "Q").opened(), companion_reader::state::open);
  // A directory that has gone comes back with the new file.
  fs::remove_all(in_study("QRD/DIRE.1"));
  make_polygons("P");
  expect_answer("CDIRLST", {}, bytes("SDIRS").i32(1).text("D"));
}

TEST_F(shared_objects, that_were_found_are_not_taken_for_those_that_have_their_number_now) {
  make_polygons("P");
  found_file gone = {"D", "P"}, there = {"D", "Q"};
  ASSERT_EQ(qd_find_geometry(gone), geometry::read);
  fs::remove_all(in_file(1, ""));
  expect_done("CDISTUSET", bytes("km"));
  make_polygons("Q");
  expect_done("CDISTUSET", bytes("m"));
  ASSERT_EQ(qd_find_geometry(there), geometry::read);
  ASSERT_STREQ(gone.folder, there.folder);
  for (const char* name : {"WIREFRAME", "FAULT"}) write_file(in_file(1, name), "");

  polygon_box box;
  fault_info faults;
  EXPECT_EQ(qd_polygon_info(there, nullptr, box), geometry::read);
  EXPECT_EQ(qd_polygon_info(gone, nullptr, box), geometry::none);
  EXPECT_EQ(qd_wireframe_info(gone, "None"), geometry::none);
  EXPECT_EQ(qd_fault_info(gone, faults), geometry::none);
  qd_format_record x, y, z;
  qd_coordinates_formats(there, x, y, z);
  EXPECT_STREQ(x.unit, "km");
  qd_coordinates_formats(gone, x, y, z);
  EXPECT_STREQ(x.unit, "m");
}

TEST_F(shared_objects, that_the_disk_does_not_give_are_refused_and_stay) {
  make_points("P", 1, 3);
  // Its first byte can't be read.
  for (const char* name : {"POLYGON", "WIREFRAME", "FAULT"})
    fs::create_symlink("/proc/self/mem", in_file(1, name));
  expect_refused("CPOLYGONS", {}, "Cannot get polygon information.");
  expect_refused("CWIREREAD", {}, "Cannot get wireframe information: Too much files opened.");
  expect_refused("CFAULTS", bytes().i32(1), "Cannot get fault information: Too much files opened.");
  expect_refused("CWRITFAUL", bytes().i32(1, 0).f64(0).i32(0),
                 "Cannot get fault information: Too much files opened.");
  std::unique_ptr<polygon_system> polygons;
  std::unique_ptr<wireframe> root;
  std::unique_ptr<fault_system> faults;
  found_file file = {"D", "P"};
  ASSERT_EQ(qd_find_geometry(file), geometry::read);
  EXPECT_EQ(qd_polygon_read(file, "None", polygons), geometry::unclear);
  EXPECT_EQ(qd_wireframe_read(file, "None", root), geometry::unclear);
  EXPECT_EQ(qd_fault_read(file, faults), geometry::unclear);
  for (const char* name : {"POLYGON", "WIREFRAME", "FAULT"}) EXPECT_TRUE(fs::is_symlink(in_file(1, name)));
}

TEST_F(shared_objects, that_are_damaged_stay_with_their_owner) {
  make_points("P", 2, 3);
  const struct {
    const char* file;
    const char* request;
    bytes arguments;
    std::string content;
    const char* refused;
  } rows[] = {
      {"POLYGON", "CPOLYGONS", bytes(),
       bytes().i32(6, 2).i64(1, 1, 3).f64(0, 0, 0, 0, 0, 0).text("cut").str(), "Cannot read polygons."},
      {"WIREFRAME", "CWIREREAD", bytes(), bytes().i32(3, 1, 3, 1).f64(0, 0, 0, 0, 0, 0).text("x").str(),
       "Cannot read wireframes."},
      {"FAULT", "CFAULTS", bytes().i32(1), bytes().i32(2, 1, 0, 1, 1, 1, 1, 127).text("A").f64(1).str(),
       "Cannot read faults."}};
  std::string kept;
  for (const auto& row : rows) {
    write_file(in_file(1, row.file), row.content);
    const std::string console = console_of([&] { expect_refused(row.request, row.arguments, row.refused); });
    EXPECT_FALSE(fs::exists(in_file(1, row.file)));
    EXPECT_EQ(kept_aside(1).size(), kept.size() + row.content.size());
    EXPECT_NE(kept_aside(1).find(row.content), std::string::npos) << row.file;
    EXPECT_NE(
        console.find("The damaged file \"" + in_file(1, row.file) + "\" is kept as \"" + in_file(1, "B_")),
        std::string::npos)
        << console;
    kept = kept_aside(1);
  }
  // Faults are written beside what was damaged, and never over sound ones.
  write_file(in_file(1, "FAULT"), "short");
  auto system = qu_fault_system_new(1, 0);
  EXPECT_EQ(qd_fault_write("D", "P", *system), fault_writing::done);
  EXPECT_NE(kept_aside(1).find("short"), std::string::npos);
  const std::string first = read_file(in_file(1, "FAULT"));
  qu_fault_new(*system, "late", 0);
  EXPECT_EQ(qd_fault_write("D", "P", *system), fault_writing::already_faulted);
  EXPECT_EQ(read_file(in_file(1, "FAULT")), first);
}

TEST_F(shared_objects, with_equal_names_can_be_read_back) {
  bytes sent = bytes("P").i32(1).f64(0, 0, 0, 0, 0, 0).i64(3);
  for (double x : {0.0, 10.0, 20.0})
    sent.text("fifteen letters").text("A").f64(0, 0).i32(3).f64(x, 0, x + 1, 0, x + 1, 1);
  expect_done("CPOLYNEW", sent);
  expect_done("CFILESET", "P");
  bytes back = bytes("SPOLYGONS").i32(1).f64(0, 0, 0, 21, 1, 0).i64(3);
  for (const auto& [name, x] :
       {std::pair{"fifteen letters", 0}, {"fifteen lette 3", 10}, {"fifteen lette 5", 20}})
    back.text(name).text("A").f64(0, 1).i32(3).f64(x, 0, x + 1, 0, x + 1, 1);
  expect_answer("CPOLYGONS", {}, back);
}

// What can't be sent isn't begun: nobody takes the beginning for an answer to the next request.
TEST_F(shared_objects, with_a_name_that_is_too_long_get_no_answer) {
  bytes sent;
  constexpr int corners = 200;
  sent.text("P").i32(1).f64(0, 0, 0, 0, 0, 0).i64(2).text("round").text("").f64(0, 0).i32(corners);
  for (int i = 0; i < corners; ++i) sent.f64(std::cos(i * 0.03), std::sin(i * 0.03));
  sent.text("two").text("").f64(0, 0).i32(3).f64(10, 0, 11, 0, 11, 1);
  expect_done("CPOLYNEW", sent);
  expect_done("CFILESET", "P");
  EXPECT_GT(ask("CPOLYGONS").size(), 3000U);
  std::string file = read_file(in_file(1, "POLYGON"));
  const std::string last = bytes("two");
  file.replace(file.rfind(last), last.size(), bytes("sixteen letters!").str());
  write_file(in_file(1, "POLYGON"), file);
  expect_answer("CPOLYGONS", {}, {});
  EXPECT_EQ(client_.status(), -1);
}

// In a study without units a factor that stands in a descriptor doesn't count, for samples and objects alike.
TEST_F(shared_objects, have_no_factors_in_a_study_without_units) {
  root_.make_study("N", study_descriptor(0));
  root_.write_registry(pair("$init$/N", "N"));
  expect_answer("CQRDDATA", bytes(root_.path()), bytes("SOK"));
  expect_done("CSTUDYSET", "N");
  expect_done("CDIRNEW", "D");
  expect_done("CDIRSET", "D");
  make_polygons("P");
  const std::string file = root_ / "N/QRD/DIRE.1/FILE.1";
  write_file(file + "/VARI.2/DESCR",
             variable_fields{"XL+ X Location (READONLY)", VAR_FLOAT, KIND_X, 64, 0, "km", 100000}.bytes_of());
  const std::string first = bytes("SPOLYGONS").i32(1).f64(0, 0, 0, 11, 1, 0).i64(2);
  for (int mode : {0, 1}) {
    expect_done("CUNITMODE", bytes().i32(mode));
    EXPECT_EQ(ask("CPOLYGONS").substr(0, first.size()), first) << mode;
  }
  make_wireframes("W");
  write_file(
      root_ / "N/QRD/DIRE.1/FILE.2/VARI.2/DESCR",
      variable_fields{"X+ Gravity Center (READONLY)", VAR_FLOAT, KIND_X, 64, 0, "km", 100000}.bytes_of());
  expect_answer("CWIREREAD", {}, bytes("SWIREF").raw(triangles()));
  bytes sent =
      bytes().i32(1, 0).f64(missing_double).i32(1).text("F").i32(0, 1).f64(1, 2, 0, 3, 4, 0, 0, 0, 0);
  sent.f64(0, 0, 0).i32(1);
  expect_done("CWRITFAUL", sent);
  bytes back = bytes("SFAULTS").i32(1, 1).f64(missing_double).i32(1).text("F").i32(0, 1);
  expect_answer("CFAULTS", bytes().i32(1), back.f64(1, 2, 0, 3, 4, 0, 0, 0, 0).f64(0, 0, 0).i32(1));
}

}  // namespace
}  // namespace qrd::test
