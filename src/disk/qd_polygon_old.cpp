#include "disk/qd_polygon_old.h"

#include "disk/qd_grid.h"
#include "disk/qd_polygon_format.h"
#include "disk/qu_polygon_shape.h"

namespace qrd {

namespace {

constexpr std::uint32_t old_name_limit = 16;

bool read_contour(XDR* xdr, const polygon_header& header, std::int64_t bytes_left, polygon_system& system) {
  polygon_name name;
  if (!qu_xdr_text(xdr, name, old_name_limit)) return false;
  polygon& owner = qu_polygon_new_named(system, name);
  contour& read = qu_polygon_add_contour_named(system, owner, name);
  if (!qu_xdr_int(xdr, &owner.marked) || !xdr_double(xdr, &owner.center_x) ||
      !xdr_double(xdr, &owner.center_y))
    return false;
  if (header.version >= 2) {
    double ignored = 0;
    if (!xdr_double(xdr, &ignored)) return false;
    // The limits are still the defaults of a new contour.
    owner.center_z = (read.z_min + read.z_max) / 2;
  }
  std::int64_t has_grid = 0;
  if (!xdr_double(xdr, &read.z_min) || !xdr_double(xdr, &read.z_max) || !qu_xdr_int(xdr, &has_grid))
    return false;
  if (has_grid == 1) {
    if (!qd_polygon_old_grid_read(xdr, owner.is_3d, read.grid.emplace())) return false;
    qd_grid_compute(*read.grid);
  }
  return qd_polygon_ring_move(xdr, bytes_left, read.vertices);
}

bool read_compound(XDR* xdr, const polygon_header& header, polygon_system& system) {
  std::int64_t count = 0;
  if (!qu_xdr_int(xdr, &count) || count < 1) return false;
  polygon* joined = nullptr;
  for (std::int64_t i = 0; i < count; ++i) {
    polygon_name name;
    if (!qu_xdr_text(xdr, name, old_name_limit)) return false;
    if (i == 0) joined = system.polygons.find(name);
    if (joined == nullptr) return false;
    contour* moved = system.contours.find(name);
    if (moved == nullptr || moved->owner == joined) continue;
    polygon* left = moved->owner;
    qu_contour_move(*moved, *joined);
    if (left->contours.empty()) qu_polygon_delete(system, *left);
  }
  polygon_name name;
  if (!qu_xdr_text(xdr, name, old_name_limit)) return false;
  system.polygons.rename(*joined, name);
  joined->attribute = 0;
  if (!qu_xdr_int(xdr, &joined->red) || !qu_xdr_int(xdr, &joined->green) || !qu_xdr_int(xdr, &joined->blue))
    return false;
  if (header.version < 2) {
    qu_contour_center(*joined->contours.front(), joined->center_x, joined->center_y, joined->center_z);
    return true;
  }
  return qu_xdr_int(xdr, &joined->attribute) && xdr_double(xdr, &joined->center_x) &&
         xdr_double(xdr, &joined->center_y) && xdr_double(xdr, &joined->center_z);
}

}  // namespace

bool qd_polygon_compounds_read(XDR* xdr, const polygon_header& header, std::int64_t bytes_left,
                               polygon_system& system) {
  for (std::int64_t i = 0; i < header.contour_count; ++i)
    if (!read_contour(xdr, header, bytes_left, system)) return false;
  for (std::int64_t i = 0; i < header.compound_count; ++i)
    if (!read_compound(xdr, header, system)) return false;
  std::int64_t index = 0;
  for (polygon& each : system.polygons) each.index = ++index;
  return true;
}

}  // namespace qrd
