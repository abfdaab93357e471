#include "geometry/qu_wireframe.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "util/qu_string.h"

namespace qrd {

namespace {

// a . (b x c): six times the signed volume of the tetrahedron over the origin.
double determinant(const double* a, const double* b, const double* c) {
  return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
         a[2] * (b[0] * c[1] - b[1] * c[0]);
}

double piece_volume(const wireframe_piece& piece) {
  double sum = 0;
  const auto vertex = [&piece](std::int32_t index) {
    return piece.vertices.data() + 3 * std::int64_t{index};
  };
  for (std::size_t i = 0; i + 2 < piece.triangles.size(); i += 3)
    sum += determinant(vertex(piece.triangles[i]), vertex(piece.triangles[i + 1]),
                       vertex(piece.triangles[i + 2]));
  return std::abs(sum / 6);
}

}  // namespace

std::unique_ptr<wireframe> qu_wireframe_new() {
  auto root = std::make_unique<wireframe>();
  for (qd_format_record* unit : {&root->unit_x, &root->unit_y, &root->unit_z, &root->unit_volume})
    qu_format_default(*unit);
  return root;
}

wireframe_object& qu_polyhedron_new(wireframe& root, const char* name) {
  wireframe_object& made = root.objects.emplace_back();
  std::strncpy(made.name, name, name_size - 1);
  qu_string_trim(made.name);
  made.pieces.emplace_back();
  return made;
}

std::int64_t qu_polyhedron_vertex_count(const wireframe& root) {
  std::int64_t count = 0;
  for (const wireframe_object& object : root.objects)
    for (const wireframe_piece& piece : object.pieces) count += piece.vertex_count();
  return count;
}

std::int64_t qu_polyhedron_triangle_count(const wireframe& root) {
  std::int64_t count = 0;
  for (const wireframe_object& object : root.objects)
    for (const wireframe_piece& piece : object.pieces) count += piece.triangle_count();
  return count;
}

void qu_polyhedron_center(const wireframe_object& object, double& x, double& y, double& z) {
  double sum[3] = {0, 0, 0};
  std::int64_t count = 0;
  for (const wireframe_piece& piece : object.pieces) {
    for (std::size_t i = 0; i < piece.vertices.size(); i += 3)
      for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += piece.vertices[i + axis];
    count += piece.vertex_count();
  }
  const auto vertices = static_cast<double>(count);
  const auto mean = [&](double total) {
    return count == 0 ? std::numeric_limits<double>::quiet_NaN() : total / vertices;
  };
  x = mean(sum[0]);
  y = mean(sum[1]);
  z = mean(sum[2]);
}

double qu_polyhedron_volume(wireframe_object& object) {
  double sum = 0;
  for (wireframe_piece& piece : object.pieces) {
    if (piece.closed != 1) return missing_double;
    piece.volume = piece_volume(piece);
    sum += piece.volume;
  }
  return sum;
}

void qu_polyhedron_box(const wireframe& root, double (&box)[6]) {
  wireframe_piece whole;
  for (const wireframe_object& object : root.objects)
    for (const wireframe_piece& piece : object.pieces) {
      whole.x_min = std::min(whole.x_min, piece.x_min);
      whole.x_max = std::max(whole.x_max, piece.x_max);
      whole.y_min = std::min(whole.y_min, piece.y_min);
      whole.y_max = std::max(whole.y_max, piece.y_max);
      whole.z_min = std::min(whole.z_min, piece.z_min);
      whole.z_max = std::max(whole.z_max, piece.z_max);
    }
  const double bounds[6] = {whole.x_min, whole.x_max, whole.y_min, whole.y_max, whole.z_min, whole.z_max};
  std::copy_n(bounds, 6, box);
}

void qu_piece_extend(wireframe_piece& piece) {
  for (std::size_t i = 0; i < piece.vertices.size(); i += 3) {
    piece.x_min = std::min(piece.x_min, piece.vertices[i]);
    piece.x_max = std::max(piece.x_max, piece.vertices[i]);
    piece.y_min = std::min(piece.y_min, piece.vertices[i + 1]);
    piece.y_max = std::max(piece.y_max, piece.vertices[i + 1]);
    piece.z_min = std::min(piece.z_min, piece.vertices[i + 2]);
    piece.z_max = std::max(piece.z_max, piece.vertices[i + 2]);
  }
}

bool qu_piece_valid(const wireframe_piece& piece) {
  const std::int64_t count = piece.vertex_count();
  return std::all_of(piece.triangles.begin(), piece.triangles.end(),
                     [count](std::int32_t index) { return index >= 0 && index < count; });
}

}  // namespace qrd
