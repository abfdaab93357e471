// A connection with an open root, and the server behind it if it was started for that.
#pragma once

#include <functional>
#include <string>

#include "command/options.h"
#include "qrd/database.h"

namespace qrd::command {

enum class root_use { existing, made_if_missing };

// Which database is meant; an `error` if none is.
client::database_options database_of(const common_options& common, root_use use);

class session {
 public:
  session(const common_options& common, root_use use);

  client::database& database() { return database_; }
  client::connection* operator->() { return &database_.at_root(); }
  client::connection& operator*() { return database_.at_root(); }
  // What the server of its own printed last, if there is one: why it ended.
  std::string last_words() const { return database_.last_words(); }

 private:
  client::database database_;
};

// Opens a session and acts in it. A broken connection is told with the last words of the server.
void with_session(const common_options& common, const std::function<void(session&)>& act,
                  root_use use = root_use::existing);

}  // namespace qrd::command
