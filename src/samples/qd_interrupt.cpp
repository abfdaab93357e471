#include "samples/qd_interrupt.h"

namespace qrd {

std::int64_t log_enabled = 1;

void qd_interrupt_add_modif(const char* /*directory*/, const char* /*file*/, const char* /*variable*/,
                            const char* /*new_name*/, change_code /*code*/) {
  // Without a catalogue in memory there is nobody to tell, whatever log_enabled says.
}

void qd_interrupt_add_object(const char* /*object_path*/, change_code /*code*/) {
  // Nor is there a reason to find out the object's names.
}

}  // namespace qrd
