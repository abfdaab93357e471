// The faults of a catalogue file: the companion file "FAULT" in its folder.
//
// Header, eight xint: version (2 is written), is_2d, has_attributes, fault count, segment count, lowest
// and highest priority, priority limit. Then one record per segment up to the end of the file, all of
// the first fault, then all of the second; a run of equal names makes a fault:
//
//   xstring(8)  fault name
//   xdouble     x1, y1 [z1 in 3D], x2, y2 [z2, x3, y3, z3 in 3D]   cm
//   xdouble     three attributes (in version 1 only if has_attributes is set)
//   xint        priority; in 2D plus 1000 for a polyline
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qu_fault.h"

namespace qrd {

// Names of the companion file.
enum fault_variant : int { FAULT_FILE = 0, FAULT_TMP = 1, FAULT_TM1 = 2 };

// The header of a fault file.
struct fault_info {
  std::int64_t is_2d = 0;
  std::int64_t has_attributes = 0;
  std::int64_t fault_count = 0;
  std::int64_t segment_count = 0;
  std::int64_t priority_min = 0;
  std::int64_t priority_max = 0;
  std::int64_t priority_limit = 0;
};

// 0 read; 1 no such file, no faults, or corrupted; 2 can't tell.
int qd_fault_info(const char* directory, const char* file, fault_variant variant, fault_info& info);
// 0 written; 1 failed, nothing has changed; 2 the names are not valid; 3 there are faults already. A damaged
// file is moved aside. The priorities in use and has_attributes of the system are computed.
int qd_fault_write(const char* directory, const char* file, fault_variant variant, fault_system& system);
// 0 read; 1 damaged, and moved aside; 2 can't tell, or gone.
int qd_fault_read(const char* directory, const char* file, fault_variant variant,
                  std::unique_ptr<fault_system>& system);

}  // namespace qrd
