#include "disk/qu_polygon.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace qrd {

namespace {

// The wanted name or, where the list holds it, one that ends in the counter's value. "None" and the
// empty name become an automatic one.
template <typename T>
void make_unique(const named_list<T>& list, const char* wanted, const char* automatic_prefix,
                 std::int64_t& counter, std::size_t longest, polygon_name& result) {
  std::snprintf(result, sizeof result, "%s", wanted);
  const std::size_t length = std::strlen(result);
  if (length == 0 || std::strcmp(result, no_name) == 0)
    std::snprintf(result, sizeof result, "%s%" PRId64, automatic_prefix, ++counter);
  while (list.contains(result)) {
    const std::string number = std::to_string(++counter);
    // Behind the end of the text nothing would change: the number must stand in it or right after it.
    // Its blank stands there, too.
    const std::size_t place = std::min({length, longest - 1 - number.size(), std::strlen(result)});
    std::snprintf(result + place, sizeof result - place, length < 2 ? "%s" : " %s", number.c_str());
  }
}

// Puts a contour behind the others of a polygon.
void join(contour& joining, polygon& owner) {
  joining.owner = &owner;
  joining.is_3d = owner.is_3d;
  joining.in_owner = owner.contours.insert(owner.contours.end(), &joining);
}

}  // namespace

std::unique_ptr<polygon_system> qu_polygon_system_new() {
  auto system = std::make_unique<polygon_system>();
  system->unit_x = system->unit_y = system->unit_z = units.distance;
  return system;
}

polygon& qu_polygon_new_named(polygon_system& system, const char* name) {
  polygon& made = system.polygons.add(name);
  made.is_3d = system.dimension == 3;
  return made;
}

polygon& qu_polygon_new_auto(polygon_system& system) {
  polygon_name name;
  make_unique(system.polygons, "", "Polygon ", system.polygon_name_counter, system.longest_numbered_name,
              name);
  return qu_polygon_new_named(system, name);
}

void qu_polygon_rename(polygon_system& system, polygon& renamed, const char* name) {
  if (std::strcmp(renamed.name, name) == 0) return;
  polygon_name unique;
  make_unique(system.polygons, name, "Polygon ", system.polygon_name_counter, system.longest_numbered_name,
              unique);
  system.polygons.rename(renamed, unique);
}

void qu_polygon_delete(polygon_system& system, polygon& deleted) {
  for (contour* each : deleted.contours) system.contours.erase(*each);
  system.polygons.erase(deleted);
}

contour& qu_polygon_add_contour_named(polygon_system& system, polygon& owner, const char* name) {
  contour& made = system.contours.add(name);
  join(made, owner);
  return made;
}

contour& qu_polygon_add_contour(polygon_system& system, polygon& owner) {
  polygon_name name;
  make_unique(system.contours, "", "C ", system.contour_name_counter, system.longest_numbered_name, name);
  return qu_polygon_add_contour_named(system, owner, name);
}

void qu_contour_rename(polygon_system& system, contour& renamed, const char* name) {
  if (std::strcmp(renamed.name, name) == 0) return;
  polygon_name unique;
  make_unique(system.contours, name, "C ", system.contour_name_counter, system.longest_numbered_name, unique);
  system.contours.rename(renamed, unique);
}

void qu_contour_delete(polygon_system& system, contour& deleted) {
  deleted.owner->contours.erase(deleted.in_owner);
  system.contours.erase(deleted);
}

void qu_contour_move(contour& moved, polygon& owner) {
  moved.owner->contours.erase(moved.in_owner);
  join(moved, owner);
}

std::int64_t qu_vertex_count(const polygon_system& system) {
  std::size_t count = 0;
  for (const contour& each : system.contours) {
    count += each.vertices.size();
    for (const vertex_ring& hole : each.holes) count += hole.size();
  }
  return static_cast<std::int64_t>(count);
}

polygon_box qu_polygon_box(const polygon_system& system) {
  constexpr double far = 1e30;
  polygon_box box{far, far, far, -far, -far, -far};
  for (const contour& each : system.contours) {
    for (const vertex& corner : each.vertices) {
      box.x_min = std::min(box.x_min, corner.x);
      box.x_max = std::max(box.x_max, corner.x);
      box.y_min = std::min(box.y_min, corner.y);
      box.y_max = std::max(box.y_max, corner.y);
    }
    if (!each.is_3d) continue;
    box.z_min = std::min(box.z_min, each.z_min);
    box.z_max = std::max(box.z_max, each.z_max);
  }
  for (double* minimum : {&box.x_min, &box.y_min, &box.z_min})
    if (*minimum == far) *minimum = 0;
  for (double* maximum : {&box.x_max, &box.y_max, &box.z_max})
    if (*maximum == -far) *maximum = 0;
  return box;
}

}  // namespace qrd
