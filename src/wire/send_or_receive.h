// Waiting for the client: the next request, and the silence after one that nobody knows.
#pragma once

#include "wire/values.h"

namespace qrd {

// 0 nothing came within 100 ms, 1 the name of a request has come, 2 the connection is broken, or has been
// silent for too long.
int server_receive(char (&name)[request_name_limit]);
// Drops the rest of a packet: reads words until the client has been silent for half a second.
void clean_packet();

}  // namespace qrd
