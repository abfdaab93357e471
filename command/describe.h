// Files and variables as JSON: what they are.
#pragma once

#include <string>

#include "command/json.h"
#include "qrd/table.h"

namespace qrd::command {

json describe_file(const client::file_place& place, const client::file_info& info);
json describe_variable(const std::string& name, const client::variable_info& info);

// The least and the greatest coordinate of each axis; null where there is none. Those of a grid follow from
// its corners.
json extents_of(client::table& file, bool quiet);
// How many samples of a column have no value.
std::int64_t missing_of(client::table& file, const client::column& of, bool quiet);

}  // namespace qrd::command
