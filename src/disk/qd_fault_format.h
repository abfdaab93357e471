// The layout of fault files: the companion "FAULT" of a catalogue file.
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

#include "disk/qu_fault.h"
#include "util/qu_xdr.h"

namespace qrd {

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

// All of these give false after a failed or refused item.
bool qd_fault_header_read(XDR* xdr, std::int64_t& version, fault_info& info);
// The records up to the end of the file, for a system whose header is known; false after a failed read inside
// a record.
bool qd_fault_segments_read(XDR* xdr, std::int64_t version, fault_system& system);
// All of a file. The priorities in use and has_attributes of the system are computed.
bool qd_fault_system_write(XDR* xdr, fault_system& system);

}  // namespace qrd
