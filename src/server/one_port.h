// -multi -oneport: a process for each connection, on the port that everybody knows.
#pragma once

#include "server/options.h"

namespace qrd {

// Hands each connection to a process of its own. Speaks to no client, so that none can hold it up or end it.
// Returns when the process shall end, or the listening socket is broken.
void serve_one_port(const server_options& options);

}  // namespace qrd
