// Where the server is, as --server tells it.
#pragma once

#include <string>

#include "client/connection.h"

namespace qrd::command {

// HOST[:PORT], ssh://[USER@]HOST[:PORT][/PATH/OF/QRDserver] or unix:/PATH.
client::connection connect_to(const std::string& place, const client::connection_options& options);

}  // namespace qrd::command
