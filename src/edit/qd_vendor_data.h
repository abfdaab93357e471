// Vendor data: named bags of typed attributes that clients hang on a study, a directory, a file or a
// variable. The file VENDOR.<n> in the owner's folder (XDR):
//
//   xint         520, ignored on reading
//   xstring(50)  name
//   xint         the client's version of the bag
//   xint         number of attributes, then so many of:
//     xstring(50)  name
//     int          type
//     value        0 nothing; 1 an int; 2 an xdouble; 3 a text; 4, 5, 6 an xint count and so many of them
//
// Here int is the plain 4-byte XDR integer, and a text an xint with its length plus 1 and an xstring.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "util/qu_constants.h"

namespace qrd {

// The index of the alternative is the type on disk and on the wire.
using vendor_value = std::variant<std::monostate, std::int32_t, double, std::string,
                                  std::vector<std::int32_t>, std::vector<double>, std::vector<std::string>>;
inline constexpr std::int32_t vendor_type_count =
    static_cast<std::int32_t>(std::variant_size_v<vendor_value>);

struct vendor_attribute {
  name_text name = "";
  vendor_value value;
  std::int32_t type() const { return static_cast<std::int32_t>(value.index()); }
};

struct vendor_data {
  name_text name = "";
  std::int64_t version = 0;
  std::vector<vendor_attribute> attributes;
};

// Gives the attribute the empty value of a type; false if there is no such type.
bool qd_vendor_data_set_type(vendor_attribute& attribute, std::int32_t type);

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
