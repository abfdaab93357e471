// The start of serving.
#pragma once

#include <cstdint>

#include "server/inherited.h"
#include "wire/connection.h"

namespace qrd {

// Listens, reports the port to a control port other than 0, and accepts the first client. 0, or the
// status of the step that failed.
int server_init(std::uint16_t port, std::uint16_t control_port, socket_handle* listening,
                socket_handle* client);
// The same, but that nobody is accepted.
int server_init_one_port(std::uint16_t port, std::uint16_t control_port, socket_handle* listening);
// The same on a connection that is there already.
void server_init_inherited(const inherited_connection& inherited);

}  // namespace qrd
