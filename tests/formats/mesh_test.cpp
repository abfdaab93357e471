#include "formats/mesh.h"

#include <gtest/gtest.h>

#include "qrd/error.h"

namespace qrd::formats {
namespace {

using client::wireframe;

// "name: vertices | triangles" of each object.
std::string told(const std::vector<wireframe>& objects) {
  std::string text;
  for (const wireframe& object : objects)
    for (const client::wireframe_piece& piece : object.pieces) {
      text += object.name + ":";
      for (const auto& [x, y, z] : piece.vertices)
        text += " " + std::to_string(static_cast<int>(x)) + std::to_string(static_cast<int>(y)) +
                std::to_string(static_cast<int>(z));
      text += " |";
      for (const client::triangle& one : piece.triangles)
        text += " " + std::to_string(one.vertices[0]) + std::to_string(one.vertices[1]) +
                std::to_string(one.vertices[2]);
      text += "\n";
    }
  return text;
}

TEST(mesh, formats_are_read) {
  EXPECT_EQ(told(read_mesh(
                mesh_format::obj,
                "# made\nv 1 2 3\r\nv 4 5 6 1.0\nv 7 8 9\no top \nf 1/7 2//3 -1\nv 0 0 1\ng low\nf 4 3 2 1\n",
                "a")),
            "top: 123 456 789 | 012\nlow: 001 789 456 123 | 012 023\n");
  EXPECT_EQ(told(read_mesh(
                mesh_format::ply,
                "ply\nformat ascii 1.0\ncomment x\nelement vertex 4\nproperty float x\nproperty uchar flag\n"
                "property float y\nproperty double z\nelement face 1\nproperty list uchar int vertex_index\n"
                "end_header\n1 9 2 3\n4 9 5 6\n7 9 8 9\n0 9 0 1\n4 0 1 2 3\n",
                "a")),
            "a: 123 456 789 001 | 012 023\n");
  const char values[] = "\0\1\0\2\0\3\0\4\0\5\0\6\0\7\0\10\0\11\3\0\0\0\1\0\2";
  const std::string big =
      "ply\nformat binary_big_endian 1.0\nelement vertex 3\nproperty short x\nproperty short y\nproperty "
      "short z\n"
      "element face 1\nproperty list uchar ushort vertex_indices\nend_header\n" +
      std::string(values, 25);
  EXPECT_EQ(told(read_mesh(mesh_format::ply, big, "a")), "a: 123 456 789 | 012\n");
  EXPECT_EQ(
      told(read_mesh(
          mesh_format::stl,
          "solid hill one\nfacet normal 0 0 1\nouter loop\nvertex 1 2 3\nvertex 4 5 6\nvertex 7 8 "
          "9\nendloop\n"
          "endfacet\nfacet normal 0 0 1\nouter loop\nvertex 4 5 6\nvertex 7 8 9\nvertex 0 0 1\nendloop\n"
          "endfacet\nendsolid hill one\n",
          "a")),
      "hill one: 123 456 789 001 | 012 123\n");
}

TEST(mesh, what_is_written_comes_back) {
  wireframe one;
  one.name = "one";
  one.red = 200;
  one.pieces = {{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{{0, 1, 2}}}},
                {{{0, 0, 5}, {1, 0, 5}, {0, 1, 5}}, {{{2, 1, 0}}}}};
  const std::vector<wireframe> objects = {one};
  EXPECT_EQ(write_mesh(mesh_format::obj, objects),
            "o one\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nv 0 0 5\nv 1 0 5\nv 0 1 5\nf 6 5 4\n");
  EXPECT_EQ(told(read_mesh(mesh_format::stl, write_mesh(mesh_format::stl, objects), "b")),
            "b: 000 100 010 015 105 005 | 012 345\n");
  const auto ply = read_mesh(mesh_format::ply, write_mesh(mesh_format::ply, objects), "b");
  EXPECT_EQ(told(ply), "b: 000 100 010 005 105 015 | 012 543\n");
  EXPECT_EQ(ply[0].red, 200);
  const std::string stl = write_mesh(mesh_format::stl, objects);
  EXPECT_EQ(stl.size(), 80 + 4 + 2 * 50U);
  EXPECT_EQ(stl.substr(80, 4), std::string("\2\0\0\0", 4));

  one.pieces[0].triangles[0].vertices[1] = 3;
  for (const auto format : {mesh_format::obj, mesh_format::ply, mesh_format::stl})
    EXPECT_THROW(write_mesh(format, std::vector{one}), client::error);
}

// Every beginning of a good file, and every byte of it changed, gives a surface or an error.
TEST(mesh, damaged_files_are_refused) {
  wireframe one;
  one.name = "one";
  one.pieces = {{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{{0, 1, 2}}, {{1, 2, 3}}}}};
  for (const auto format : {mesh_format::obj, mesh_format::ply, mesh_format::stl}) {
    const std::string good = write_mesh(format, std::vector{one});
    const auto try_it = [&](const std::string& bytes) {
      try {
        for (const wireframe& object : read_mesh(format, bytes, "x"))
          for (const client::wireframe_piece& piece : object.pieces)
            for (const client::triangle& each : piece.triangles)
              for (const std::int32_t corner : each.vertices)
                EXPECT_LT(static_cast<std::size_t>(corner), piece.vertices.size());
      } catch (const client::error&) {
      }
    };
    for (std::size_t size = 0; size < good.size(); ++size) {
      try_it(good.substr(0, size));
      for (const char other : {'\0', '-', '9', '\xFF'}) {
        std::string bytes = good;
        bytes[size] = other;
        try_it(bytes);
      }
    }
  }
  const auto refused = [](mesh_format format, std::string_view bytes) {
    EXPECT_THROW(read_mesh(format, bytes, "x"), client::error) << bytes;
  };
  refused(mesh_format::obj, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n");
  refused(mesh_format::obj, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 -4\n");
  refused(mesh_format::obj, "v 0 0 nan\n");
  refused(mesh_format::obj, "v 0 0 0\n");
  const std::string head = "ply\nformat ascii 1.0\nelement vertex ";
  refused(mesh_format::ply, head + "99999999999999999999\nproperty float x\nend_header\n");
  refused(mesh_format::ply, head + "1000000000\nproperty float x\nend_header\n1\n");
  refused(mesh_format::ply, head + "1000000000\nend_header\n");
  refused(mesh_format::ply,
          head +
              "1\nproperty float x\nelement face 1\nproperty list uchar int vertex_indices\n"
              "end_header\n0\n1000000000 0 0\n");
  refused(mesh_format::ply,
          head +
              "3\nproperty float x\nelement face 1\nproperty list uchar int vertex_indices\n"
              "end_header\n0\n0\n0\n3 0 1 3\n");
  refused(mesh_format::stl, std::string(80, 'x') + "\xFF\xFF\xFF\x7F");
}

}  // namespace
}  // namespace qrd::formats
