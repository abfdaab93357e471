// qrd view: a database in the browser.
#pragma once

#include <cstdint>

#include "qrd/database.h"

namespace qrd::view {

struct serving {
  client::database_options database;
  std::uint16_t port = 0;  // 0: a free one
  bool opens_browser = true;
};

// Shows the database until SIGINT, SIGTERM or SIGHUP comes. A database that can't be opened, or a port that
// can't be had, is an `error`.
void serve(const serving& wish);

}  // namespace qrd::view
