// Polygons in memory: named sets of contours, each a closed ring with holes, z limits and an optional
// grid. One system owns everything. Lengths in centimetres.
#pragma once

#include <cstdint>
#include <cstring>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "disk/qd_records.h"
#include "units/qu_units.h"
#include "util/qu_constants.h"

namespace qrd {

inline constexpr std::size_t polygon_name_size = 32;
using polygon_name = char[polygon_name_size];

struct vertex {
  double x = 0, y = 0;
};
// From the first vertex on; the last one joins the first.
using vertex_ring = std::vector<vertex>;

struct polygon;

struct contour {
  polygon_name name = "";
  std::optional<qd_grid_record> grid;
  vertex_ring vertices;
  std::vector<vertex_ring> holes;
  bool is_3d = false;
  double z_min = 0, z_max = 100;  // mean something in 3D only
  polygon* owner = nullptr;
  std::list<contour*>::iterator in_owner;
  std::int64_t rank = 0;  // in its system
};

struct polygon {
  polygon_name name = "";
  double center_x = missing_double, center_y = missing_double, center_z = missing_double;  // label point
  std::int64_t red = missing_int64, green = missing_int64, blue = missing_int64;
  std::int64_t attribute = missing_int64;  // carried
  std::int64_t marked = 0;                 // carried
  bool is_3d = false;
  std::list<contour*> contours;
  std::int64_t index = 0;  // number in file order from 1; 0 if not read from a file
  std::int64_t rank = 0;   // in its system
};

// Items in order of creation, found by name without a walk. `rank` keeps equal names apart: a file may hold
// a great many of them.
template <typename T>
class named_list {
 public:
  T& add(const char* name) {
    T& item = items_.emplace_back();
    item.rank = ++last_rank_;
    enter(std::prev(items_.end()), name);
    return item;
  }
  void rename(T& item, const char* name) { enter(take(item), name); }
  void erase(T& item) { items_.erase(take(item)); }
  bool contains(const char* name) const {
    const auto entry = by_name_.lower_bound({name, 0});
    return entry != by_name_.end() && entry->first.first == name;
  }
  // The first item of that exact name, or null.
  T* find(const char* name) {
    const auto entry = by_name_.lower_bound({name, 0});
    return entry != by_name_.end() && entry->first.first == name ? &*entry->second : nullptr;
  }
  std::int64_t count() const { return static_cast<std::int64_t>(items_.size()); }
  auto begin() { return items_.begin(); }
  auto end() { return items_.end(); }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  using place = typename std::list<T>::iterator;
  void enter(place item, const char* name) {
    std::strncpy(item->name, name, polygon_name_size - 1);
    item->name[polygon_name_size - 1] = '\0';
    by_name_.emplace(std::pair(std::string(item->name), item->rank), item);
  }
  place take(T& item) {
    const auto entry = by_name_.find({item.name, item.rank});
    const place item_place = entry->second;
    by_name_.erase(entry);
    return item_place;
  }

  std::list<T> items_;
  std::map<std::pair<std::string, std::int64_t>, place> by_name_;
  std::int64_t last_rank_ = 0;
};

struct polygon_system {
  std::int64_t dimension = 2;
  named_list<contour> contours;  // of all polygons
  named_list<polygon> polygons;
  qd_format_record unit_x, unit_y, unit_z;
  std::int64_t polygon_name_counter = 0;  // numbers automatic names
  std::int64_t contour_name_counter = 0;
  // A name that gets a number to become unique is cut so that it has at most so many characters.
  std::size_t longest_numbered_name = polygon_name_size - 1;
};

// An empty system of dimension 2 in the distance unit.
std::unique_ptr<polygon_system> qu_polygon_system_new();

polygon& qu_polygon_new_auto(polygon_system& system);
// Without a check of uniqueness.
polygon& qu_polygon_new_named(polygon_system& system, const char* name);
// Makes a name that differs unique among the polygons.
void qu_polygon_rename(polygon_system& system, polygon& renamed, const char* name);
void qu_polygon_delete(polygon_system& system, polygon& deleted);
contour& qu_polygon_add_contour(polygon_system& system, polygon& owner);
contour& qu_polygon_add_contour_named(polygon_system& system, polygon& owner, const char* name);
void qu_contour_rename(polygon_system& system, contour& renamed, const char* name);
void qu_contour_delete(polygon_system& system, contour& deleted);
// To another polygon of the same system; the name stays.
void qu_contour_move(contour& moved, polygon& owner);
// Outer rings and holes of all contours.
std::int64_t qu_vertex_count(const polygon_system& system);

struct polygon_box {
  double x_min = 0, y_min = 0, z_min = 0, x_max = 0, y_max = 0, z_max = 0;
};
// Of the outer rings, and of the z limits in 3D; a bound that nothing touches is 0.
polygon_box qu_polygon_box(const polygon_system& system);

}  // namespace qrd
