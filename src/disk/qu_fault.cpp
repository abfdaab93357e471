#include "disk/qu_fault.h"

#include <algorithm>
#include <cstring>

namespace qrd {

std::unique_ptr<fault_system> qu_fault_system_new(std::int64_t is_2d, std::int64_t has_attributes) {
  auto system = std::make_unique<fault_system>();
  system->is_2d = is_2d;
  system->has_attributes = has_attributes;
  system->unit_x = system->unit_y = system->unit_z = units.distance;
  return system;
}

fault* qu_fault_new(fault_system& system, const char* name, std::int64_t is_polyline) {
  fault& made = system.faults.emplace_back();
  std::strncpy(made.name, name, fault_name_size - 1);
  made.system = &system;
  made.is_polyline = is_polyline;
  return &made;
}

fault_segment* qu_fault_add_segment(fault& owner, const fault_segment* behind) {
  fault_segment made;
  auto place = owner.segments.end();
  if (behind != nullptr)
    place = std::find_if(owner.segments.begin(), owner.segments.end(),
                         [behind](const fault_segment& segment) { return &segment == behind; });
  if (place != owner.segments.end()) {
    made = *place;
    made.x1 = place->x2;
    made.y1 = place->y2;
    if (owner.system->is_2d == 0) made.z1 = made.z2 = place->z3;
    ++place;
  }
  ++owner.system->segment_count;
  return &*owner.segments.insert(place, made);
}

}  // namespace qrd
