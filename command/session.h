// The database that the options of the command line name.
#pragma once

#include <functional>

#include "command/options.h"
#include "qrd/database.h"

namespace qrd::command {

enum class root_use { existing, made_if_missing };

// Which database is meant; an `error` if none is.
client::database_options database_of(const common_options& common, root_use use);

// Opens the database and acts in it. While an interruption_guard lives, a signal gives a wait for the server
// up. A broken connection is told with the last words of the server, and what is done differently here with a
// line of help.
void with_database(const common_options& common, const std::function<void(client::database&)>& act,
                   root_use use = root_use::existing);

}  // namespace qrd::command
