// -inetd: the connection that the process was started with.
#pragma once

#include <string>

#include "wire/connection.h"

namespace qrd {

struct inherited_connection {
  carrier kind = carrier::tcp;
  socket_handle client = no_socket;
  socket_handle answers = no_socket;  // the second of two pipes
  std::string problem;                // why there is none
};

// Takes the connection from descriptor 3 if the service manager has passed just one, else from descriptor 0,
// with descriptor 1 for two pipes. It gets descriptors of its own, and whatever is printed from here on goes
// to standard error; nowhere, where that is the connection as well.
inherited_connection take_inherited_connection();

}  // namespace qrd
