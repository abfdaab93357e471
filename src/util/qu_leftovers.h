// What servers that died at work have left under working names.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "util/qu_lock.h"

namespace qrd {

// Makes a folder and locks it, so that nobody takes it for a left-over. 0, or -1 and errno; EEXIST asks for
// another name.
int qu_make_locked_folder(const std::string& path, std::optional<folder_lock>& lock);

// Removes those of a folder's names that are left-overs: nobody at work holds their lock.
void qu_remove_leftovers(const std::string& folder, const std::vector<std::string>& names);

}  // namespace qrd
