#include "edit/qd_polygon.h"
#include "support/formats.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

constexpr std::int32_t no_int = 2147483647;

struct polygons : open_study {};

TEST_F(polygons, go_to_disk_as_version_6_and_come_back) {
  bytes sent = bytes("P").i32(1).f64(0, 0, 0, 0, 0, 0).i64(4);
  ring(sent.text("c1").text("Lake").f64(1, 2), {0, 0, 4, 0, 4, 4, 0, 4, 0, 0});
  ring(sent.text("c1").text("Lake").f64(1, 2), {10, 0, 12, 0, 12, 2});
  ring(sent.text("Pit").text("").f64(0, 0), {20, 0, 21, 0, 21, 1});
  ring(sent.text("line").text("Thin").f64(0, 0), {0, 0, 1, 1});
  expect_done("CPOLYNEW", sent);

  bytes file = bytes().i32(6, 2).i64(2, 3, 10).f64(0, 2100, 0, 400, 0, 0);
  // The first polygon of a request takes the last colour; a name that came late counts where it joined.
  file.text("Lake").i32(157, 78, 64, no_int).f64(missing_double, missing_double, missing_double).i32(1, 2);
  ring(file.text("c1").i32(0).f64(0, 100), {0, 0, 4, 0, 4, 4, 0, 4}, 100).i32(0);
  ring(file.text("c1 3").i32(0).f64(0, 100), {10, 0, 12, 0, 12, 2}, 100).i32(0);
  file.text("Pit").i32(255, 255, 0, no_int).f64(missing_double, missing_double, missing_double).i32(1, 1);
  ring(file.text("Pit").i32(0).f64(0, 100), {20, 0, 21, 0, 21, 1}, 100).i32(0);
  EXPECT_EQ(read_file(in_file(1, "POLYGON")), file);

  // The samples: no label points, the names, the areas in square metres.
  EXPECT_EQ(read_file(in_file(1, "VARI.2/DATAVAR")).substr(0, 16),
            bytes().f64(missing_double, missing_double));
  EXPECT_EQ(read_file(in_file(1, "VARI.4/DATAVAR")).substr(0, 8), "LakePit ");
  EXPECT_EQ(read_file(in_file(1, "VARI.5/DATAVAR")).substr(0, 16), bytes().f64(18, 0.5));

  expect_done("CFILESET", "P");
  bytes answer = bytes("SPOLYGONS").i32(1).f64(0, 0, 0, 21, 4, 0).i64(3);
  ring(answer.text("c1").text("Lake").f64(0, 1), {0, 0, 4, 0, 4, 4, 0, 4});
  ring(answer.text("c1 3").text("Lake").f64(0, 1), {10, 0, 12, 0, 12, 2});
  ring(answer.text("Pit").text("Pit").f64(0, 1), {20, 0, 21, 0, 21, 1});
  expect_answer("CPOLYGONS", {}, answer);

  // A selection narrows counts and box too.
  select_samples("second", {0, 1});
  bytes narrowed = bytes("SPOLYGONS").i32(1).f64(20, 0, 0, 21, 1, 1).i64(1);
  ring(narrowed.text("Pit").text("Pit").f64(0, 1), {20, 0, 21, 0, 21, 1});
  expect_answer("CPOLYGONS", {}, narrowed);
}

TEST_F(polygons, without_any_make_an_empty_file) {
  bytes sent = bytes("P").i32(1).f64(0, 0, 0, 0, 0, 0).i64(0);
  expect_done("CPOLYNEW", sent);
  bytes file = bytes().i32(6, 2).i64(0, 0, 0).f64(0, 0, 0, 0, 0, 0);
  EXPECT_EQ(read_file(in_file(1, "POLYGON")), file);
  expect_refused("CPOLYNEW", sent, "File S: D/P already exists");
  make_points("plain", 1);
  expect_refused("CPOLYGONS", {}, "Cannot read polygons.");
}

TEST_F(polygons, of_versions_4_to_6_keep_grids_holes_and_limits) {
  make_points("P", 1, 3);
  for (int version : {4, 5, 6}) {
    SCOPED_TRACE(version);
    write_file(in_file(1, "POLYGON"), nested_polygon(version));
    std::unique_ptr<polygon_system> system;
    found_file file = {"D", "P"};
    ASSERT_EQ(qd_find_geometry(file), geometry::read);
    ASSERT_EQ(qd_polygon_read(file, "None", system), geometry::read);
    EXPECT_EQ(system->dimension, 3);
    const polygon& area = *system->polygons.begin();
    EXPECT_STREQ(area.name, "Area");
    EXPECT_EQ(
        (std::vector<std::int64_t>{area.red, area.green, area.blue, area.attribute, area.marked, area.index}),
        (std::vector<std::int64_t>{1, 2, 3, 4, 1, 1}));
    const contour& out = *area.contours.front();
    ASSERT_TRUE(out.grid.has_value());
    EXPECT_EQ((std::vector<double>{out.grid->x0, out.grid->y0, out.grid->z0, out.grid->dx, out.grid->dy,
                                   out.grid->dz, out.grid->angle1, out.grid->t[1]}),
              (std::vector<double>{10, 20, 30, 1, 2, 5, 90, -1}));
    EXPECT_EQ((std::vector<std::int64_t>{out.grid->nx, out.grid->ny, out.grid->nz}),
              (std::vector<std::int64_t>{3, 4, 6}));
    EXPECT_EQ(out.z_max, 300);
    EXPECT_EQ(out.holes.front().back().y, 200);

    bytes answer = bytes("SPOLYGONS").i32(0).f64(0, 0, 0, 4, 4, 3).i64(1);
    ring(answer.text("Out").text("Area").f64(0, 3), {0, 0, 4, 0, 4, 4, 0, 4});
    expect_answer("CPOLYGONS", {}, answer);
  }
}

TEST_F(polygons, of_versions_1_to_3_join_their_contours) {
  make_points("P", 1);
  for (int version : {1, 2, 3}) {
    SCOPED_TRACE(version);
    write_file(in_file(1, "POLYGON"), compound_polygons(version));
    std::unique_ptr<polygon_system> system;
    found_file file = {"D", "P"};
    ASSERT_EQ(qd_find_geometry(file), geometry::read);
    ASSERT_EQ(qd_polygon_read(file, "None", system), geometry::read);
    ASSERT_EQ(system->polygons.count(), 1);
    const polygon& river = *system->polygons.begin();
    EXPECT_STREQ(river.name, "River");
    EXPECT_EQ(river.contours.size(), 2u);
    EXPECT_EQ((std::vector<std::int64_t>{river.red, river.green, river.blue, river.attribute}),
              (std::vector<std::int64_t>{5, 6, 7, version == 1 ? 0 : 8}));
    const std::vector<double> center =
        version == 1 ? std::vector<double>{100, 100, 0} : std::vector<double>{11, 12, 13};
    EXPECT_EQ((std::vector<double>{river.center_x, river.center_y, river.center_z}), center);
    EXPECT_EQ(river.contours.front()->grid->angle1, 15);
  }
}

// A compound takes contours from others; what it empties goes, also where names are equal.
TEST_F(polygons, of_old_versions_go_when_their_contours_do) {
  make_points("P", 1);
  bytes file = bytes().i32(3, 0, 2, 2, 4, 12).f64(0, 400, 0, 400, 0, 0);
  for (const char* name : {"a", "b", "b", "c"})
    ring(file.text(name).i32(1).f64(0, 0, 0, 0, 1).i32(0), {0, 0, 300, 0, 0, 300});
  const auto properties = [&file] { file.i32(1, 2, 3, 4).f64(5, 6, 7); };
  file.i32(2).text("a").text("b").text("first");
  properties();
  file.i32(2).text("c").text("a").text("second");
  properties();
  write_file(in_file(1, "POLYGON"), file);
  bytes answer = bytes("SPOLYGONS").i32(1).f64(0, 0, 0, 4, 4, 0).i64(4);
  ring(answer.text("a").text("second").f64(0, 0.01), {0, 0, 3, 0, 0, 3});
  ring(answer.text("b").text("first").f64(0, 0.01), {0, 0, 3, 0, 0, 3});
  ring(answer.text("b").text("b").f64(0, 0.01), {0, 0, 3, 0, 0, 3});
  ring(answer.text("c").text("second").f64(0, 0.01), {0, 0, 3, 0, 0, 3});
  expect_answer("CPOLYGONS", {}, answer);
}

TEST_F(polygons, in_a_damaged_file_are_removed_by_their_reader) {
  make_points("P", 1);
  const std::string whole = nested_polygon(6).str();
  std::string promising = whole;
  promising.replace(whole.size() - 52, 4, bytes().i32(2000000000).str());
  std::string negative = whole;
  negative.replace(whole.size() - 52, 4, bytes().i32(-1).str());
  std::string nameless = compound_polygons(2).str();
  nameless.replace(nameless.size() - 80, 4, bytes().i32(0).str());
  for (const std::string& damaged : {whole.substr(0, whole.size() - 4), promising, negative, nameless}) {
    write_file(in_file(1, "POLYGON"), damaged);
    expect_refused("CPOLYGONS", {}, "Cannot read polygons.");
    EXPECT_FALSE(fs::exists(in_file(1, "POLYGON")));
  }
  std::string fewer_than_none = whole;
  fewer_than_none.replace(8, 8, bytes().i64(-1).str());
  for (const std::string& header : {std::string("short"), fewer_than_none}) {
    write_file(in_file(1, "POLYGON"), header);
    expect_refused("CPOLYGONS", {}, "P is not a polygon file.");
  }
  write_file(in_file(1, "POLYGON"), "short");
  expect_refused("CPOLYGONS", {}, "P is not a polygon file.");
  EXPECT_TRUE(fs::exists(in_file(1, "POLYGON")));
}

TEST_F(polygons, that_a_full_disk_swallows_leave_no_file) {
  const auto system = qu_polygon_system_new();
  qu_polygon_add_contour_named(*system, qu_polygon_new_named(*system, "A"), "a").vertices.resize(1000);
  const std::string console = console_of([&] {
    file_size_limit disk(8000);
    EXPECT_FALSE(qd_polygon_new("D", "P", *system));
  });
  EXPECT_TRUE(console.starts_with("WARNING: Error when writing in the Polygon File D/P.\n")) << console;
  expect_answer("CFILEXIST", "P", bytes("SEXIST").i32(0));
  EXPECT_FALSE(fs::exists(in_file(1, "")));
}

}  // namespace
}  // namespace qrd::test
