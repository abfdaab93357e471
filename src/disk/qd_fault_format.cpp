#include "disk/qd_fault_format.h"

#include <algorithm>
#include <cstring>

namespace qrd {

namespace {

constexpr std::int64_t fault_version = 2;
constexpr std::uint32_t fault_name_limit = 8;
constexpr std::int64_t polyline_mark = 1000;
// The name before the first record: a record of that name can't begin a fault.
constexpr char no_fault_name[] = "   ";

// The header behind the version word, in both directions.
bool move_header(XDR* xdr, fault_info& info) {
  return qu_xdr_int(xdr, &info.is_2d) && qu_xdr_int(xdr, &info.has_attributes) &&
         qu_xdr_int(xdr, &info.fault_count) && qu_xdr_int(xdr, &info.segment_count) &&
         qu_xdr_int(xdr, &info.priority_min) && qu_xdr_int(xdr, &info.priority_max) &&
         qu_xdr_int(xdr, &info.priority_limit);
}

// A segment record behind the name, in both directions.
bool move_segment(XDR* xdr, bool is_2d, bool with_attributes, fault_segment& segment,
                  std::int64_t& priority_word) {
  if (!xdr_double(xdr, &segment.x1) || !xdr_double(xdr, &segment.y1)) return false;
  if (!is_2d && !xdr_double(xdr, &segment.z1)) return false;
  if (!xdr_double(xdr, &segment.x2) || !xdr_double(xdr, &segment.y2)) return false;
  if (!is_2d && !(xdr_double(xdr, &segment.z2) && xdr_double(xdr, &segment.x3) &&
                  xdr_double(xdr, &segment.y3) && xdr_double(xdr, &segment.z3)))
    return false;
  if (with_attributes && !(xdr_double(xdr, &segment.attribute_1) && xdr_double(xdr, &segment.attribute_2) &&
                           xdr_double(xdr, &segment.attribute_3)))
    return false;
  return qu_xdr_int(xdr, &priority_word) != 0;
}

bool has_attribute(const fault_segment& segment) {
  return segment.attribute_1 != missing_double || segment.attribute_2 != missing_double ||
         segment.attribute_3 != missing_double;
}

// What the header says of the segments; also stored in the system.
fault_info summarise(fault_system& system) {
  system.priority_min = fault_priority_limit + 1;
  system.priority_max = 0;
  system.has_attributes = 0;
  for (const fault& each : system.faults)
    for (const fault_segment& segment : each.segments) {
      system.priority_min = std::min(system.priority_min, segment.priority);
      system.priority_max = std::max(system.priority_max, segment.priority);
      if (has_attribute(segment)) system.has_attributes = 1;
    }
  fault_info info;
  info.is_2d = system.is_2d;
  info.has_attributes = system.has_attributes;
  info.fault_count = static_cast<std::int64_t>(system.faults.size());
  info.segment_count = system.segment_count;
  info.priority_min = system.priority_min;
  info.priority_max = system.priority_max;
  info.priority_limit = system.priority_limit;
  return info;
}

}  // namespace

bool qd_fault_header_read(XDR* xdr, std::int64_t& version, fault_info& info) {
  return qu_xdr_int(xdr, &version) && move_header(xdr, info);
}

bool qd_fault_segments_read(XDR* xdr, std::int64_t version, fault_system& system) {
  const bool is_2d = system.is_2d != 0;
  const bool stored_attributes = version >= 2 || system.has_attributes != 0;
  const bool kept_attributes = version > 2 || system.has_attributes != 0;
  fault* current = nullptr;
  char name[fault_name_size];
  while (qu_xdr_text(xdr, name, fault_name_limit)) {
    fault_segment read;
    std::int64_t word = 0;
    if (!move_segment(xdr, is_2d, stored_attributes, read, word)) return false;
    if (!kept_attributes) read.attribute_1 = read.attribute_2 = read.attribute_3 = missing_double;
    read.priority = word % polyline_mark;
    if (std::strcmp(name, current == nullptr ? no_fault_name : current->name) != 0)
      current = qu_fault_new(system, name, is_2d ? word / polyline_mark : 0);
    if (current == nullptr) return false;
    *qu_fault_add_segment(*current, nullptr) = read;
  }
  return true;
}

bool qd_fault_system_write(XDR* xdr, fault_system& system) {
  std::int64_t version = fault_version;
  if (!qu_xdr_int(xdr, &version)) return false;
  fault_info info = summarise(system);
  if (!move_header(xdr, info)) return false;
  const bool is_2d = system.is_2d != 0;
  for (fault& each : system.faults)
    for (fault_segment& segment : each.segments) {
      std::int64_t word = segment.priority;
      if (is_2d && each.is_polyline != 0) word += polyline_mark;
      if (!qu_xdr_text(xdr, each.name, fault_name_limit) || !move_segment(xdr, is_2d, true, segment, word))
        return false;
    }
  return true;
}

}  // namespace qrd
