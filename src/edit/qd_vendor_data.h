// Vendor data: named bags of typed attributes that clients hang on a study, a directory, a file or a
// variable (see disk/qd_vendor_format.h).
#pragma once

#include <cstdint>

#include "disk/qd_vendor_format.h"
#include "util/qu_outcome.h"

namespace qrd {

// Who owns a bag: null in place of a directory means the study, of a file the directory, of a variable
// the file.
struct vendor_owner {
  const char* directory = nullptr;
  const char* file = nullptr;
  const char* variable = nullptr;
};

// A damaged bag in the folder is fatal. May end the process, here and below.

// No also without an owner; unreadable also when too many files are open.
found qd_vendor_data_version(const char* name, const vendor_owner& owner, std::int64_t& version);
// Unreadable also when the decoding fails, which is told.
found qd_vendor_data_read(vendor_data& bag, const vendor_owner& owner, const char* name);
// Puts it in place of an older bag of that name. False after a failure; an older one stays then.
[[nodiscard]] bool qd_vendor_data_write(const vendor_owner& owner, vendor_data& bag);

}  // namespace qrd
