// Names of objects: which ones can be, and which one was probably meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "qrd/export.h"

namespace qrd::client {

// An `error` that tells the rule if nothing can have that name: blank, more than 49 characters, reserved,
// with control characters, or with brackets, which are for columns of macro variables. `what` names the
// object in the message: "study", "file". A name of a macro variable may end with "[xxxxx]".
QRD_EXPORT void check_new_name(std::string_view name, std::string_view what);

// The names that are near one: equal but for case and blanks, begun by it, or few letters away; the nearest
// first, at most three.
QRD_EXPORT std::vector<std::string> near_names(std::string_view name, const std::vector<std::string>& known);
// ": did you mean "A" or "B"?"; empty if none is near.
QRD_EXPORT std::string did_you_mean(std::string_view name, const std::vector<std::string>& known);

}  // namespace qrd::client
