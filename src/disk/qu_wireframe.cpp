#include "disk/qu_wireframe.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "util/qu_string.h"
#include "util/qu_wide_loop.h"

namespace qrd {

namespace {

using kept_double = big_endian<double>;

// a . (b x c): six times the signed volume of the tetrahedron over the origin.
double determinant(const kept_double* a, const kept_double* b, const kept_double* c) {
  return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
         a[2] * (b[0] * c[1] - b[1] * c[0]);
}

// Extends a piece by its vertices from number `first` on; `take(i, axis)` gives number i of the block.
template <typename Take>
void extend(wireframe_piece& piece, std::int64_t first, const Take& take) {
  // Locals stay in registers, as the piece's own fields can't: the vertices might alias them.
  double x_min = piece.x_min, x_max = piece.x_max;
  double y_min = piece.y_min, y_max = piece.y_max;
  double z_min = piece.z_min, z_max = piece.z_max;
  double x_sum = piece.x_sum, y_sum = piece.y_sum, z_sum = piece.z_sum;
  const std::size_t count = piece.vertices.size();
  for (auto i = 3 * static_cast<std::size_t>(first); i < count; i += 3) {
    const double x = take(i, 0), y = take(i + 1, 1), z = take(i + 2, 2);
    x_min = std::min(x_min, x);
    x_max = std::max(x_max, x);
    y_min = std::min(y_min, y);
    y_max = std::max(y_max, y);
    z_min = std::min(z_min, z);
    z_max = std::max(z_max, z);
    x_sum += x;
    y_sum += y;
    z_sum += z;
  }
  piece.x_min = x_min, piece.x_max = x_max;
  piece.y_min = y_min, piece.y_max = y_max;
  piece.z_min = z_min, piece.z_max = z_max;
  piece.x_sum = x_sum, piece.y_sum = y_sum, piece.z_sum = z_sum;
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
  for (qd_format_record* unit : {&root->unit_x, &root->unit_y, &root->unit_z}) qu_format_default(*unit);
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
  double x_sum = 0, y_sum = 0, z_sum = 0;
  std::int64_t count = 0;
  for (const wireframe_piece& piece : object.pieces) {
    x_sum += piece.x_sum;
    y_sum += piece.y_sum;
    z_sum += piece.z_sum;
    count += piece.vertex_count();
  }
  const auto vertices = static_cast<double>(count);
  const auto mean = [&](double total) {
    return count == 0 ? std::numeric_limits<double>::quiet_NaN() : total / vertices;
  };
  x = mean(x_sum);
  y = mean(y_sum);
  z = mean(z_sum);
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

void qu_piece_extend(wireframe_piece& piece, std::int64_t first) {
  const kept_double* numbers = piece.vertices.data();
  extend(piece, first, [numbers](std::size_t i, int) -> double { return numbers[i]; });
}

void qu_piece_scale_and_extend(wireframe_piece& piece, std::int64_t first, const double (&factors)[3]) {
  kept_double* numbers = piece.vertices.data();
  const double x = factors[0], y = factors[1], z = factors[2];
  extend(piece, first, [=](std::size_t i, int axis) {
    const double scaled = numbers[i] * (axis == 0 ? x : axis == 1 ? y : z);
    numbers[i] = scaled;
    return scaled;
  });
}

bool qu_piece_valid(const wireframe_piece& piece, std::int64_t first) {
  // A negative index is a large one here. A difference below 0 sets the highest bit: the loop goes on without
  // a branch or a comparison for each.
  const std::uint64_t last = static_cast<std::uint64_t>(piece.vertex_count()) - 1;
  const auto left_behind = [&piece, last](std::size_t i) {
    return last - static_cast<std::uint32_t>(std::int32_t{piece.triangles[i]});
  };
  const std::uint64_t differences = qu_wide_loop([&piece, &left_behind, first] {
    std::uint64_t all = 0;
    for (auto i = 3 * static_cast<std::size_t>(first); i < piece.triangles.size(); ++i) all |= left_behind(i);
    return all;
  });
  return differences >> 63 == 0;
}

}  // namespace qrd
