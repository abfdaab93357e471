// A database: a connection with its root open, and the server behind it if one was started for that.
//
// What is current on the server is chosen here by need, so that several things of one database can be used in
// any order. One database is for one thread at a time.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "qrd/connection.h"
#include "qrd/export.h"

namespace qrd::client {

// A connection to where a server is: "HOST[:PORT]", "ssh://[USER@]HOST[:PORT][/PATH/OF/QRDserver]" or
// "unix:/PATH". Another text is a bad_argument. Without a port it is 5500. A server of many clients is asked
// for a session of one's own.
QRD_EXPORT connection connect_to(const std::string& address, const connection_options& options = {});

// Which database, and how to reach it.
struct database_options {
  // The address of a server, as above; empty: a server of one's own is started, which ends with the database.
  std::string server = {};
  // A command whose standard input and output are the server; goes before `server`.
  std::string via = {};
  // The folder of the database, as its server sees it. A server of one's own takes a relative one from the
  // current folder; without one it opens the root that its environment names with QRD_INIT.
  std::string root = {};
  // Makes a database in the folder if there is none. Only a server of one's own does.
  bool make_root = false;
  // Longest silence of the server; 0 waits for ever.
  std::chrono::milliseconds timeout{600000};
  // Told ten times a second while the server is waited for. What it throws gives the wait up; the connection
  // is closed then, and the next use of the database opens another.
  wait_function wait = {};
};

// A file of the database.
struct file_place {
  std::string study = {};
  std::string directory = {};
  std::string file = {};
  bool operator==(const file_place&) const = default;
};

// An open database.
class QRD_EXPORT database {
 public:
  // A root that isn't there or isn't one is a `refusal`; no connection is a `protocol_error`, with the last
  // words of a server of one's own.
  explicit database(database_options options);
  database(database&& other) noexcept;
  database& operator=(database&& other) noexcept;
  ~database();

  const database_options& options() const;

  // The connection with these current. Nothing is asked of the server for what is current already, and after
  // a refusal all of it is asked for again. A name that nothing has is `not_found`, with the ones that are
  // near. The file comes without a selection, and with no variable known to be current.
  connection& at_root();
  connection& at(const std::string& study);
  connection& at(const std::string& study, const std::string& directory);
  connection& at(const file_place& place);
  // The same with a selection that masks samples; empty for none.
  connection& at(const file_place& place, const std::string& selection);

  // The unit that lengths travel in from now on: a symbol; empty for each in its variable's own.
  void use_unit(std::string symbol);
  const std::string& unit() const;

  // Another function for options().wait.
  void set_wait(wait_function wait);

  // For requests that change by themselves what is current: all of it is asked for again.
  void forget();

  // Opens a new connection if the old one broke or was given up.
  void reopen();
  bool is_open() const;
  // Closes the connection; a server of one's own ends.
  void close();

  // What a server of one's own printed last, at most twenty lines: why it ended.
  std::string last_words() const;

 private:
  struct state;
  std::unique_ptr<state> state_;
};

}  // namespace qrd::client
