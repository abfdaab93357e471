// The real server on a copy of a database root, and clients of it.
#pragma once

#include <utility>

#include "qrd/connection.h"
#include "support/server_process.h"
#include "support/study_root.h"

namespace qrd::test {

class database {
 public:
  explicit database(const std::string& source = shipped_root) {
    fs::copy(source, root(), fs::copy_options::recursive);
    // A source that can't be written gives a copy that can't.
    for (const auto& entry : fs::recursive_directory_iterator(root()))
      fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add);
    fs::permissions(root(), fs::perms::owner_write, fs::perm_options::add);
  }

  fs::path root() const { return directory_.path() / "root"; }
  std::string operator/(const std::string& name) const { return (root() / name).string(); }
  fs::path scratch() const { return directory_.path(); }

 private:
  temporary_directory directory_;
};

// A server with a client that has the root open.
class served {
 public:
  explicit served(const fs::path& root, server_settings settings = {})
      : process(std::move(settings)), connection(connect()) {
    connection.open_root(root.string());
  }
  void choose(const std::string& study, const std::string& directory, const std::string& file) {
    connection.set_study(study);
    connection.set_directory(directory);
    connection.set_file(file);
  }
  // Says goodbye; the server's exit status.
  int finish() {
    connection.bye();
    return process.wait().value_or(-1);
  }

  // What the server has said.
  std::string said() const { return process.output() + process.errors(); }

  server_process process;
  client::connection connection;

 private:
  client::connection connect() const {
    client::connection_options options;
    options.timeout = std::chrono::seconds(60);
    return client::connection::connect("127.0.0.1", process.port(), options);
  }
};

// A server on a root with the empty study "Study", and a client in its new directory "D".
class served_study {
 public:
  served_study() {
    root.make_study("Study", study_descriptor(1));
    root.write_registry(pair("$init$/Study", "Study"));
    server.emplace(root.path());
    to().set_study("Study");
    to().new_directory("D");
    to().set_directory("D");
  }
  client::connection& to() { return server->connection; }

  study_root root;
  std::optional<served> server;
};

// The text of the refusal that `act` meets; empty if it meets none.
template <typename Act>
std::string refusal_of(const Act& act) {
  try {
    act();
  } catch (const client::refusal& refused) {
    return refused.what();
  }
  return "";
}

}  // namespace qrd::test
