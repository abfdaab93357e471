// Wireframes in memory: named objects made of triangulated surfaces. Lengths in centimetres, vertex
// indices count from 0 within a piece.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "units/qu_units.h"
#include "util/qu_big_endian.h"
#include "util/qu_constants.h"
#include "util/qu_memory.h"

namespace qrd {

// Numbers that a vector grows by aren't cleared: they are about to be read, and there are many of them.
template <typename Number>
struct unfilled : std::allocator<Number> {
  template <typename Other>
  struct rebind {
    using other = unfilled<Other>;
  };
  Number* allocate(std::size_t count) {
    Number* block = std::allocator<Number>::allocate(count);
    qu_expect_filling(block, count * sizeof(Number));
    return block;
  }
  template <typename... Values>
  void construct(Number* place, Values... values) {
    if constexpr (sizeof...(Values) == 0)
      ::new (place) Number;
    else
      ::new (place) Number(values...);
  }
};
template <typename Number>
using number_block = std::vector<Number, unfilled<Number>>;

struct wireframe_piece {
  number_block<big_endian<double>> vertices;         // x, y, z of each
  number_block<big_endian<std::int32_t>> triangles;  // three vertex indices each
  std::int64_t piece_type = 1;                       // 0: not sent to clients
  double x_min = missing_double, x_max = -missing_double;
  double y_min = missing_double, y_max = -missing_double;
  double z_min = missing_double, z_max = -missing_double;
  double x_sum = 0, y_sum = 0, z_sum = 0;  // over the vertices, for the gravity center
  std::int64_t closed = 0;                 // volume is defined only when it is 1
  double volume = -missing_double;         // once computed

  std::int64_t vertex_count() const { return static_cast<std::int64_t>(vertices.size() / 3); }
  std::int64_t triangle_count() const { return static_cast<std::int64_t>(triangles.size() / 3); }
};

struct wireframe_object {
  name_text name = "";
  std::int64_t red = 0, green = 145, blue = 0;
  std::vector<wireframe_piece> pieces;
};

struct wireframe {
  std::vector<wireframe_object> objects;
  qd_format_record unit_x, unit_y, unit_z;
};

// A root without objects; the units are the float default.
std::unique_ptr<wireframe> qu_wireframe_new();

// Appends an object with one empty piece; the name is cut to 49 characters, then trimmed.
wireframe_object& qu_polyhedron_new(wireframe& root, const char* name);

std::int64_t qu_polyhedron_vertex_count(const wireframe& root);
std::int64_t qu_polyhedron_triangle_count(const wireframe& root);
// The mean of all vertices of all pieces; not-a-number without vertices. REQUIRES: qu_piece_extend has seen
// them.
void qu_polyhedron_center(const wireframe_object& object, double& x, double& y, double& z);
// The sum over the pieces, cm3; no-data if one isn't closed.
double qu_polyhedron_volume(wireframe_object& object);
// x, y, z minima and maxima: x minimum, x maximum, y minimum and so on.
void qu_polyhedron_box(const wireframe& root, double (&box)[6]);
// Widens a piece's extents, and adds to its sums, by its vertices from number `first` on.
void qu_piece_extend(wireframe_piece& piece, std::int64_t first = 0);
// The same, once those vertices have been multiplied by the factors of x, y and z.
void qu_piece_scale_and_extend(wireframe_piece& piece, std::int64_t first, const double (&factors)[3]);
// True if every triangle from number `first` on names vertices of the piece.
bool qu_piece_valid(const wireframe_piece& piece, std::int64_t first = 0);

}  // namespace qrd
