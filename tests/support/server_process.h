// The real server, started for one test on a port of its own, and raw connections to it.
#pragma once

#include "support/programs.h"
#include "support/test.h"

namespace qrd::test {

// One connection, byte by byte. Every wait has an end: 20 seconds without a byte throw.
class raw_connection {
 public:
  raw_connection() = default;
  // Takes over an open descriptor, and of two pipes the other one.
  explicit raw_connection(int descriptor, int sending_pipe = -1);
  raw_connection(raw_connection&& other) noexcept;
  raw_connection& operator=(raw_connection&& other) noexcept;
  ~raw_connection();

  // To the loopback address; throws when nobody listens.
  static raw_connection to_port(std::uint16_t port);

  int descriptor() const { return descriptor_; }
  void send(std::string_view data);
  // Exactly so many bytes; throws when the connection ends before.
  std::string receive(std::size_t count);
  // All that arrives until the other side closes.
  std::string receive_rest();
  // True if nothing arrives within the time, and the connection stays open.
  bool is_silent(std::chrono::milliseconds time);
  void close();

  // Sends a request and gives so many bytes of its answer.
  std::string exchange(std::string_view request, std::size_t answer_size);

 private:
  int descriptor_ = -1;
  int sending_pipe_ = -1;
};

// A listening socket on a free port of the loopback address.
class listening_port : unmovable {
 public:
  listening_port();
  ~listening_port();
  std::uint16_t port() const { return port_; }
  int descriptor() const { return descriptor_; }
  // Empty if nobody calls within the time.
  std::optional<raw_connection> accept(std::chrono::milliseconds time);

 private:
  int descriptor_;
  std::uint16_t port_;
};

struct server_settings {
  // Behind the program's name; -control and its port are added unless `controlled` is false.
  strings arguments = {};
  // On top of the test's own environment, without its QRD_ variables.
  std::map<std::string, std::string> environment = {};
  bool controlled = true;
  // Instead of the built server.
  std::string program = server_program;
  // Open descriptors that become its standard streams. Else the input is the test's own, and the others are
  // kept for output() and errors().
  std::array<int, 3> streams = {-1, -1, -1};
};

// The environment of a server that traces into a file.
inline std::map<std::string, std::string> traced(const std::string& level, const std::string& file) {
  return {{"QRD_SERVER_TRACE", level}, {"QRD_SERVER_TRACE_FILE", file}};
}

class server_process {
 public:
  // A controlled server has reported its port when this returns; throws if it did not.
  explicit server_process(server_settings settings = {});
  // Kills what still runs.
  ~server_process();

  pid_t pid() const { return process_; }
  // Of a controlled server.
  std::uint16_t port() const { return port_; }
  raw_connection connect() const { return raw_connection::to_port(port_); }

  void send_signal(int signal) const;
  bool is_running();
  // The exit status; 128 and the signal's number for a process that a signal ended. Empty if the process
  // still runs after the time.
  std::optional<int> wait(std::chrono::milliseconds time = std::chrono::seconds(20));
  // SIGTERM, and the exit status.
  std::optional<int> stop();

  // What it and its children have written so far.
  std::string output() const;
  std::string errors() const;

 private:
  std::uint16_t reported_port(listening_port& control);
  void kill_now();

  temporary_directory directory_;
  pid_t process_ = -1;
  std::uint16_t port_ = 0;
  std::optional<int> status_;
};

// The exit status of a server that ends by itself, with what it said.
struct server_run {
  std::optional<int> status;
  std::string output;
  std::string errors;
};
server_run run_server(server_settings settings);

}  // namespace qrd::test
