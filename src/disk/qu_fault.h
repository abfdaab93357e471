// Faults in memory: named polylines (2D) or sets of triangles (3D), each piece with a priority.
// Lengths in centimetres.
#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "units/qu_units.h"
#include "util/qu_constants.h"

namespace qrd {

inline constexpr std::size_t fault_name_size = 8;
inline constexpr std::int64_t fault_priority_limit = 127;

// A line from point 1 to point 2 in x and y (2D), or a triangle (3D).
struct fault_segment {
  double x1 = 0, y1 = 0, z1 = 0, x2 = 0, y2 = 0, z2 = 0, x3 = 0, y3 = 0, z3 = 0;
  // The client's own values, without a unit.
  double attribute_1 = missing_double, attribute_2 = missing_double, attribute_3 = missing_double;
  std::int64_t priority = 1;  // 1 to 127
};

struct fault_system;

struct fault {
  char name[fault_name_size] = "";
  fault_system* system = nullptr;
  std::list<fault_segment> segments;
  std::int64_t is_polyline = 0;  // meaningful in 2D only
};

struct fault_system {
  std::int64_t segment_count = 0;
  std::int64_t priority_min = 1;
  std::int64_t priority_max = 1;
  std::int64_t priority_limit = fault_priority_limit;
  std::int64_t is_2d = 0;
  std::int64_t has_attributes = 0;  // a segment has an attribute other than no-data
  std::list<fault> faults;
  qd_format_record unit_x, unit_y, unit_z;
};

// The units are those of the distance format.
std::unique_ptr<fault_system> qu_fault_system_new(std::int64_t is_2d, std::int64_t has_attributes);
// Appends a fault; its name is cut to 7 characters.
fault* qu_fault_new(fault_system& system, const char* name, std::int64_t is_polyline);
// Adds a segment that continues `behind`, or stands at the end if that is null or of another fault.
fault_segment* qu_fault_add_segment(fault& owner, const fault_segment* behind);

}  // namespace qrd
