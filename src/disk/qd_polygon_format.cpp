#include "disk/qd_polygon_format.h"

#include <algorithm>

#include "disk/qd_grid.h"
#include "util/qu_string.h"
#include "util/qu_xdr_block.h"

namespace qrd {

namespace {

constexpr std::uint32_t name_limit = 32;
constexpr std::int64_t ring_vertex_bytes = 16;

bool move_count_words(XDR* xdr, polygon_header& header) {
  // A version word below 1 is damage that only shows in what follows.
  if (header.version >= polygon_file_version || header.version < 1)
    return qu_xdr_long(xdr, &header.polygon_count) && qu_xdr_long(xdr, &header.contour_count) &&
           qu_xdr_long(xdr, &header.vertex_count);
  const bool has_compounds = header.version <= last_compound_version;
  if (header.version >= last_compound_version && !qu_xdr_int(xdr, &header.polygon_count)) return false;
  if (has_compounds && !qu_xdr_int(xdr, &header.compound_count)) return false;
  return qu_xdr_int(xdr, &header.contour_count) && qu_xdr_int(xdr, &header.vertex_count);
}

bool move_counts(XDR* xdr, polygon_header& header) {
  return move_count_words(xdr, header) && header.polygon_count >= 0 && header.compound_count >= 0 &&
         header.contour_count >= 0 && header.vertex_count >= 0;
}

// A name without the blanks at its ends.
bool write_name(XDR* xdr, const char* name) {
  std::string trimmed(qu_trimmed(name));
  return qu_xdr_text(xdr, trimmed.data(), static_cast<std::uint32_t>(trimmed.size() + 1), name_limit);
}

bool move_grid(XDR* xdr, qd_grid_record& grid) {
  return xdr_double(xdr, &grid.x0) && xdr_double(xdr, &grid.y0) && xdr_double(xdr, &grid.z0) &&
         xdr_double(xdr, &grid.dx) && xdr_double(xdr, &grid.dy) && xdr_double(xdr, &grid.dz) &&
         qu_xdr_int(xdr, &grid.nx) && qu_xdr_int(xdr, &grid.ny) && qu_xdr_int(xdr, &grid.nz) &&
         xdr_double(xdr, &grid.angle1);
}

bool write_contour(XDR* xdr, contour& written) {
  std::int64_t has_grid = written.grid ? 1 : 0;
  auto hole_count = static_cast<std::int64_t>(written.holes.size());
  if (!write_name(xdr, written.name) || !qu_xdr_int(xdr, &has_grid)) return false;
  if (written.grid && !move_grid(xdr, *written.grid)) return false;
  return xdr_double(xdr, &written.z_min) && xdr_double(xdr, &written.z_max) &&
         qd_polygon_ring_move(xdr, 0, written.vertices) && qu_xdr_int(xdr, &hole_count) &&
         std::all_of(written.holes.begin(), written.holes.end(),
                     [xdr](vertex_ring& hole) { return qd_polygon_ring_move(xdr, 0, hole); });
}

// What a polygon record holds between name and contours, in both directions.
bool move_properties(XDR* xdr, polygon& moved) {
  return qu_xdr_int(xdr, &moved.red) && qu_xdr_int(xdr, &moved.green) && qu_xdr_int(xdr, &moved.blue) &&
         qu_xdr_int(xdr, &moved.attribute) && xdr_double(xdr, &moved.center_x) &&
         xdr_double(xdr, &moved.center_y) && xdr_double(xdr, &moved.center_z) &&
         qu_xdr_int(xdr, &moved.marked);
}

bool read_limits(XDR* xdr, std::int64_t version, contour& read) {
  if (version <= 4) {
    std::int64_t has_limits = 0;
    if (!qu_xdr_int(xdr, &has_limits)) return false;
    if (has_limits == 0) return true;
  }
  return xdr_double(xdr, &read.z_min) && xdr_double(xdr, &read.z_max);
}

bool read_contour(XDR* xdr, const polygon_header& header, std::int64_t bytes_left, polygon& owner,
                  polygon_system& system) {
  polygon_name name;
  std::int64_t has_grid = 0;
  if (!qu_xdr_text(xdr, name, name_limit) || !qu_xdr_int(xdr, &has_grid)) return false;
  contour& read = qu_polygon_add_contour_named(system, owner, name);
  if (has_grid == 1) {
    qd_grid_record& grid = read.grid.emplace();
    if (!(header.version <= 4 ? qd_polygon_old_grid_read(xdr, owner.is_3d, grid) : move_grid(xdr, grid)))
      return false;
    qd_grid_compute(grid);
  }
  std::int64_t hole_count = 0;
  if (!read_limits(xdr, header.version, read) || !qd_polygon_ring_move(xdr, bytes_left, read.vertices) ||
      !qu_xdr_int(xdr, &hole_count) || hole_count < 0)
    return false;
  for (std::int64_t i = 0; i < hole_count; ++i)
    if (!qd_polygon_ring_move(xdr, bytes_left, read.holes.emplace_back())) return false;
  return true;
}

}  // namespace

bool qd_polygon_header_move(XDR* xdr, polygon_header& header) {
  return qu_xdr_int(xdr, &header.version) && qu_xdr_int(xdr, &header.dimension_word) &&
         move_counts(xdr, header) && xdr_double(xdr, &header.x_min) && xdr_double(xdr, &header.x_max) &&
         xdr_double(xdr, &header.y_min) && xdr_double(xdr, &header.y_max) && xdr_double(xdr, &header.z_min) &&
         xdr_double(xdr, &header.z_max);
}

bool qd_polygon_old_grid_read(XDR* xdr, bool is_3d, qd_grid_record& grid) {
  return xdr_double(xdr, &grid.x0) && xdr_double(xdr, &grid.y0) && xdr_double(xdr, &grid.dx) &&
         xdr_double(xdr, &grid.dy) && qu_xdr_int(xdr, &grid.nx) && qu_xdr_int(xdr, &grid.ny) &&
         (!is_3d || (xdr_double(xdr, &grid.z0) && xdr_double(xdr, &grid.dz) && qu_xdr_int(xdr, &grid.nz))) &&
         xdr_double(xdr, &grid.angle1);
}

bool qd_polygon_ring_move(XDR* xdr, std::int64_t bytes_left, vertex_ring& ring) {
  static_assert(sizeof(vertex) == 2 * sizeof(double));
  auto count = static_cast<std::int64_t>(ring.size());
  if (!qu_xdr_int(xdr, &count)) return false;
  if (xdr->x_op == XDR_DECODE) {
    if (count < 0 || count > bytes_left / ring_vertex_bytes) return false;
    ring.resize(static_cast<std::size_t>(count));
  }
  return count == 0 || qu_xdr_doubles(xdr, &ring.front().x, 2 * count) != 0;
}

bool qd_polygon_body_write(XDR* xdr, polygon_system& system) {
  return std::all_of(system.polygons.begin(), system.polygons.end(), [xdr](polygon& written) {
    auto contour_count = static_cast<std::int64_t>(written.contours.size());
    return write_name(xdr, written.name) && move_properties(xdr, written) &&
           qu_xdr_int(xdr, &contour_count) &&
           std::all_of(written.contours.begin(), written.contours.end(),
                       [xdr](contour* each) { return write_contour(xdr, *each); });
  });
}

bool qd_polygon_body_read(XDR* xdr, const polygon_header& header, std::int64_t bytes_left,
                          const std::optional<object_name_set>& kept, polygon_system& system) {
  for (std::int64_t i = 1; i <= header.polygon_count; ++i) {
    polygon_name name;
    std::int64_t contour_count = 0;
    if (!qu_xdr_text(xdr, name, name_limit)) return false;
    polygon_system passed_over;
    passed_over.dimension = system.dimension;
    polygon_system& target = !kept || kept->contains(name) ? system : passed_over;
    polygon& read = qu_polygon_new_named(target, name);
    read.index = i;
    if (!move_properties(xdr, read) || !qu_xdr_int(xdr, &contour_count) || contour_count < 0) return false;
    for (std::int64_t j = 0; j < contour_count; ++j)
      if (!read_contour(xdr, header, bytes_left, read, target)) return false;
  }
  return true;
}

}  // namespace qrd
