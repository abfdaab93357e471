// What servers that died at work have left under working names.
#pragma once

#include <string>
#include <vector>

namespace qrd {

// Removes those of a folder's names that are left-overs: nobody at work holds their lock.
void qu_remove_leftovers(const std::string& folder, const std::vector<std::string>& names);

}  // namespace qrd
