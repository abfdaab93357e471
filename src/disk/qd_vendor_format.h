// The layout of vendor data, named bags of typed attributes: the file VENDOR.<n> in the owner's folder (XDR):
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
#include "util/qu_xdr.h"

namespace qrd {

// The index of the alternative is the type on disk and on the wire.
using vendor_value = std::variant<std::monostate, std::int32_t, double, std::string,
                                  std::vector<std::int32_t>, std::vector<double>, std::vector<std::string>>;

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

// What reading came to: a damaged array or text spoils the bag, anything else is its caller's to judge.
enum class [[nodiscard]] decoding{done, spoilt, corrupted};

// The name and version of a bag; false if they can't be read.
bool qd_vendor_bag_head_read(XDR* xdr, vendor_data& bag);
// All of a bag. A type that doesn't exist is fatal. May end the process.
decoding qd_vendor_bag_read(XDR* xdr, vendor_data& bag);
// False if it can't be written.
bool qd_vendor_bag_write(XDR* xdr, vendor_data& bag);

}  // namespace qrd
