#include "edit/qd_wireframe.h"
#include "support/open_study.h"

namespace qrd::test {
namespace {

struct wireframes : open_study {};

// A tetrahedron with its right corner at the origin and edges of the given length.
bytes tetrahedron(double edge) {
  return bytes().f64(0, 0, 0, edge, 0, 0, 0, edge, 0, 0, 0, edge).i32(0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3);
}

// A piece in the shape of the file.
bytes stored_tetrahedron(double edge, bool with_type, int type, int closed) {
  const std::string data = tetrahedron(edge).str();
  bytes piece;
  if (with_type) piece.i32(type);
  return piece.i32(4).raw(data.substr(0, 96)).i32(4).raw(data.substr(96)).i32(closed);
}

TEST_F(wireframes, go_to_disk_in_centimetres_and_come_back) {
  bytes sent = bytes("W").i32(2).text("Ore body").i32(1, 2, 3, 1, 4, 4).raw(tetrahedron(2));
  sent.text("empty").i32(4, 5, 6, 0);
  expect_done("CWIRENEW", sent);

  bytes file = bytes().i32(3, 2, 4, 4).f64(0, 200, 0, 200, 0, 200);
  file.text("Ore body").i32(1, 2, 3, 1).raw(stored_tetrahedron(200, true, 1, 0));
  file.text("empty").i32(4, 5, 6, 0);
  EXPECT_EQ(read_file(in_file(1, "WIREFRAME")), file);

  // Gravity centres in centimetres; none without vertices. No volume of a piece that nothing says is closed.
  EXPECT_EQ(read_file(in_file(1, "VARI.2/DATAVAR")).substr(0, 16), bytes().f64(50, missing_double));
  EXPECT_EQ(read_file(in_file(1, "VARI.5/DATAVAR")).substr(0, 16), "Ore bodyempty   ");
  EXPECT_EQ(read_file(in_file(1, "VARI.6/DATAVAR")).substr(0, 16), bytes().f64(missing_double, 0));

  expect_done("CFILESET", "W");
  bytes answer = bytes("SWIREF").i32(1).text("Ore body").i32(1, 2, 3, 1, 4, 4).raw(tetrahedron(2));
  expect_answer("CWIREREAD", {}, answer);
}

TEST_F(wireframes, of_old_versions_and_hidden_pieces) {
  make_points("P", 2, 3);
  bytes version_2 = bytes().i32(2, 1, 4, 4).f64(1, 2, 3, 4, 5, 6);
  version_2.text(" old ").i32(7, 8, 9, 1).raw(stored_tetrahedron(100, false, 0, 1));
  write_file(in_file(1, "WIREFRAME"), version_2);
  bytes answer = bytes("SWIREF").i32(1).text("old").i32(7, 8, 9, 1, 4, 4).raw(tetrahedron(1));
  expect_answer("CWIREREAD", {}, answer);

  bytes version_3 = bytes().i32(3, 1, 8, 8).f64(0, 0, 0, 0, 0, 0);
  version_3.text("old").i32(7, 8, 9, 2).raw(stored_tetrahedron(300, true, 0, 1));
  version_3.raw(stored_tetrahedron(100, true, 2, 1));
  write_file(in_file(1, "WIREFRAME"), version_3);
  expect_answer("CWIREREAD", {}, answer);

  // The first version has its box in another order.
  bytes version_1 = bytes().i32(1, 1, 4, 4).f64(1, 2, 3, 4, 5, 6);
  write_file(in_file(1, "WIREFRAME"), version_1);
  found_file file = {"D", "P"};
  ASSERT_EQ(qd_find_geometry(file), geometry::read);
  EXPECT_EQ(qd_wireframe_info(file, "None"), geometry::read);
}

TEST_F(wireframes, obey_a_selection_of_their_samples) {
  bytes sent = bytes("W").i32(2);
  for (const char* name : {"one", "two"}) sent.text(name).i32(0, 0, 0, 1, 4, 4).raw(tetrahedron(1));
  expect_done("CWIRENEW", sent);
  expect_done("CFILESET", "W");
  select_samples("second", {0, 1});
  bytes answer = bytes("SWIREF").i32(1).text("two").i32(0, 0, 0, 1, 4, 4).raw(tetrahedron(1));
  expect_answer("CWIREREAD", {}, answer);
  select_samples("none", {0, 0});
  expect_answer("CWIREREAD", {}, bytes("SWIREF").i32(0));
  // A selection that is gone counts for nothing.
  std::snprintf(current_context.selection, sizeof current_context.selection, "gone");
  EXPECT_EQ(ask("CWIREREAD").substr(0, 16), bytes("SWIREF").i32(2));
}

TEST_F(wireframes, with_bad_indices_are_refused_and_a_bad_file_is_removed) {
  bytes bad = bytes("W").i32(1).text("x").i32(0, 0, 0, 1, 1, 1).f64(0, 0, 0).i32(0, 0, 1);
  expect_refused("CWIRENEW", bad, "Error while reading triangles from network");
  bytes negative = bytes("W").i32(1).text("x").i32(0, 0, 0, 1, -1, 0);
  expect_refused("CWIRENEW", negative, "Not enough memory to store wireframes vertices in memory.");
  expect_refused("CWIRENEW", bytes("W").i32(-1), "Error while reading from network");
  expect_refused("CWIRENEW", bytes("W").i32(1).text("x").i32(0, 0, 0, -1),
                 "Error while reading from network");
  expect_answer("CWIRENEW", bytes("W").i32(0), {});
  EXPECT_EQ(client_.status(), -1);
  EXPECT_FALSE(fs::exists(in_file(1, "DESCR")));

  make_points("P", 1, 3);
  expect_refused("CWIRENEW", "P", "File S: D/P already exists");
  expect_refused("CWIREREAD", {}, "Cannot read wireframes.");
  const std::string header = bytes().i32(3, 1, 3, 1).f64(0, 0, 0, 0, 0, 0).str();
  bytes triangle = bytes("x").i32(0, 0, 0, 1, 1, 1).f64(0, 0, 0).i32(1, 0, 0, 7, 0);
  bytes promise = bytes("x").i32(0, 0, 0, 1, 1, 2000000000);
  for (const std::string& body : {triangle.str(), promise.str(), std::string("xx")}) {
    write_file(in_file(1, "WIREFRAME"), header + body);
    expect_refused("CWIREREAD", {}, "Cannot read wireframes.");
    EXPECT_FALSE(fs::exists(in_file(1, "WIREFRAME")));
  }
}

TEST(wireframe_measures, volume_needs_closed_pieces) {
  wireframe root;
  wireframe_object& object = qu_polyhedron_new(root, "  name with blanks  ");
  EXPECT_STREQ(object.name, "name with blanks");
  wireframe_piece& piece = object.pieces.front();
  piece.vertices = {0, 0, 0, 6, 0, 0, 0, 6, 0, 0, 0, 6};
  piece.triangles = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
  EXPECT_EQ(qu_polyhedron_volume(object), missing_double);
  piece.closed = 1;
  EXPECT_DOUBLE_EQ(qu_polyhedron_volume(object), 36);
  // Whichever way its triangles turn.
  for (std::size_t i = 0; i < piece.triangles.size(); i += 3)
    std::swap(piece.triangles[i], piece.triangles[i + 1]);
  EXPECT_DOUBLE_EQ(qu_polyhedron_volume(object), 36);
  qu_piece_extend(piece);
  double x = 0, y = 0, z = 0;
  qu_polyhedron_center(object, x, y, z);
  EXPECT_EQ((std::vector<double>{x, y, z}), (std::vector<double>{1.5, 1.5, 1.5}));
  object.pieces.clear();
  EXPECT_EQ(qu_polyhedron_volume(object), 0);
  qu_polyhedron_center(object, x, y, z);
  EXPECT_TRUE(std::isnan(x) && std::isnan(y) && std::isnan(z));
}

}  // namespace
}  // namespace qrd::test
