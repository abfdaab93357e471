// A connection with an open root, and the server behind it if it was started for that.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "client/command/options.h"
#include "client/connection.h"
#include "client/server_process.h"

namespace qrd::command {

enum class root_use { existing, made_if_missing };

class session {
 public:
  session(const common_options& common, root_use use);
  session(const session&) = delete;
  session& operator=(const session&) = delete;
  ~session();

  client::connection* operator->() { return &*connection_; }
  client::connection& operator*() { return *connection_; }
  // What the server of its own printed last, if there is one: why it ended.
  std::string last_words() const;

 private:
  void release();

  int output_ = -1;
  std::optional<client::server_process> process_;
  std::optional<client::connection> connection_;
};

// Opens a session and acts in it. A broken connection is told with the last words of the server.
void with_session(const common_options& common, const std::function<void(session&)>& act,
                  root_use use = root_use::existing);

}  // namespace qrd::command
