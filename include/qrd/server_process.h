// A server of one's own, started for the occasion.
//
// The starter listens on a port of 127.0.0.1 and passes it with -control; the server takes a free port and
// calls back to tell it. No port is guessed, so none can be lost to another process in between.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qrd/connection.h"
#include "qrd/export.h"

namespace qrd::client {

// How a server is started.
struct server_options {
  // With a "/": this file. Without: looked for beside the running program, then in PATH.
  std::string program = "QRDserver";
  // Passed after "-control PORT".
  std::vector<std::string> arguments;
  // Set in the server's environment, over what this process has. It listens on 127.0.0.1 unless told
  // otherwise.
  std::vector<std::pair<std::string, std::string>> environment;
  // Receives what the server prints, at its end; empty: dropped.
  std::string output_file;
  // Longest wait for the server's call.
  std::chrono::milliseconds patience{10000};
};

// A server that was started here. It is ended with this object.
class QRD_EXPORT server_process {
 public:
  // Starts the server and waits until it can be connected to. A server that can't be started, ends at once or
  // doesn't call back is an `error`.
  explicit server_process(const server_options& options = {});
  server_process(server_process&& other) noexcept;
  server_process& operator=(server_process&&) = delete;
  ~server_process();  // end()

  std::uint16_t port() const { return port_; }
  pid_t id() const { return id_; }
  client::connection connect(const connection_options& options = {}) const;

  // Waits for the server's end: its exit status, or minus the signal that ended it. Nothing if it lives on.
  // Asked again it tells the same.
  std::optional<int> wait(std::chrono::milliseconds time);
  // Waits for a server that is about to end by itself, then asks it to with SIGTERM, then ends it with
  // SIGKILL.
  std::optional<int> end(std::chrono::milliseconds time = std::chrono::milliseconds(3000));
  void signal(int number) const;
  // Lets a server that was told goodbye end in its own time; it is not waited for.
  void leave();

 private:
  pid_t id_ = -1;
  std::uint16_t port_ = 0;
  std::optional<int> status_;
};

}  // namespace qrd::client
