// The faults of a catalogue file: the companion "FAULT" in its folder (see disk/qd_fault_format.h).
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qd_fault_format.h"
#include "disk/qu_fault.h"

namespace qrd {

// Names of the companion file.
enum fault_variant : int { FAULT_FILE = 0, FAULT_TMP = 1, FAULT_TM1 = 2 };

// 0 read; 1 no such file, no faults, or corrupted; 2 can't tell.
int qd_fault_info(const char* directory, const char* file, fault_variant variant, fault_info& info);
// 0 written; 1 failed, nothing has changed; 2 the names are not valid; 3 there are faults already. A damaged
// file is moved aside. The priorities in use and has_attributes of the system are computed.
int qd_fault_write(const char* directory, const char* file, fault_variant variant, fault_system& system);
// 0 read; 1 damaged, and moved aside; 2 can't tell, or gone.
int qd_fault_read(const char* directory, const char* file, fault_variant variant,
                  std::unique_ptr<fault_system>& system);

}  // namespace qrd
