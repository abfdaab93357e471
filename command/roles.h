// Variables that a file needs to be what it is.
#pragma once

#include <optional>
#include <string>

#include "qrd/types.h"

namespace qrd::command {

// What the variable is for the file, and what stops working without it or with other values; nothing for an
// ordinary one.
std::optional<std::string> role_of(const std::string& name, const client::variable_info& variable,
                                   const client::file_info& file);

}  // namespace qrd::command
