// Vendor data: named bags of typed attributes that clients hang on a study, a directory, a file or a
// variable (see disk/qd_vendor_format.h).
#pragma once

#include <cstdint>

#include "disk/qd_vendor_format.h"

namespace qrd {

// Who owns a bag: null in place of a directory means the study, of a file the directory, of a variable
// the file.
struct vendor_owner {
  const char* directory = nullptr;
  const char* file = nullptr;
  const char* variable = nullptr;
};

// 0 found; 1 not found, or no owner; 2 too many files are open, or one that may be meant can't be read now. A
// damaged bag in the folder is fatal, here and below.
int qd_vendor_data_version(const char* name, const vendor_owner& owner, std::int64_t& version);
// 0 read; 1 not found; 2 decoding failed.
int qd_vendor_data_read(vendor_data& bag, const vendor_owner& owner, const char* name);
// 0 written, in place of an older bag of that name; 1 failed, and an older one stays.
int qd_vendor_data_write(const vendor_owner& owner, vendor_data& bag);

}  // namespace qrd
