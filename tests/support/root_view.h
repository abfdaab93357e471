// All that a client can read of a root, as texts.
#pragma once

#include <map>
#include <string>

#include "support/server_process.h"

namespace qrd::test {

// By place: "study/directory/file/variable what". A question that is refused has the refusal as its text.
using root_view = std::map<std::string, std::string>;

// Of a connection with the root open; leaves another study current. Bags of vendor data are looked for under
// this one name. Throws when the connection breaks.
inline constexpr const char* viewed_bag = "bag";
root_view view_of(raw_connection& wire);

// What differs, for a message: one line for each place.
std::string differences(const root_view& expected, const root_view& actual);

}  // namespace qrd::test
