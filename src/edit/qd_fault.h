// The faults of a catalogue file: the companion "FAULT" in its folder (see disk/qd_fault_format.h).
#pragma once

#include <cstdint>
#include <memory>

#include "disk/qd_fault_format.h"
#include "disk/qu_fault.h"
#include "edit/qd_companion.h"

namespace qrd {

geometry qd_fault_info(const found_file& file, fault_info& info);
enum class [[nodiscard]] fault_writing{
    done,
    failed,          // nothing has changed
    already_faulted  // there are faults already
};
// A damaged file is moved aside. The priorities in use and has_attributes of the system are computed.
fault_writing qd_fault_write(const char* directory, const char* file, fault_system& system);
// What is damaged is moved aside.
geometry qd_fault_read(const found_file& file, std::unique_ptr<fault_system>& system);

}  // namespace qrd
