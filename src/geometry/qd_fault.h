// The faults of a catalogue file: the companion file "FAULT" in its folder.
#pragma once

#include <cstdint>

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

}  // namespace qrd
