// The server under measurement, with a connection that has its root open.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

#include "bench/bare.h"
#include "bench/study_files.h"
#include "qrd/connection.h"
#include "qrd/server_process.h"

namespace qrd::bench {

// An environment variable of the servers that are started while it lives. Null unsets it.
class server_setting {
 public:
  server_setting(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    set(value);
  }
  server_setting(const server_setting&) = delete;
  server_setting& operator=(const server_setting&) = delete;
  ~server_setting() { set(before_ ? before_->c_str() : nullptr); }

 private:
  void set(const char* value) const {
    if (value != nullptr)
      setenv(name_, value, 1);
    else
      unsetenv(name_);
  }

  const char* name_;
  std::optional<std::string> before_;
};

class measured_server {
 public:
  explicit measured_server(const study_files& files, bool wide_longs = true,
                           const std::string& directory = directory_name)
      : process_(options()), connection_(process_.connect(handshake(wide_longs))) {
    connection_.open_root(files.root().string());
    connection_.set_study(study_name);
    connection_.set_directory(directory);
  }

  client::connection& connection() { return connection_; }
  // Bytes in, bytes out, past the client's decoding: what is measured is the server. A refusal is an error.
  void exchange(const std::string& request, std::size_t answer_size) {
    const int socket = connection_.wire().descriptor();
    send_all(socket, request.data(), request.size());
    if (drain(socket, answer_size).find("SERROR") != std::string::npos)
      throw std::runtime_error("the server refuses a request");
  }
  // A line of /proc/PID/status, such as VmRSS, in bytes.
  double memory(const std::string& key) const;

 private:
  static client::server_options options() {
    client::server_options chosen;
    chosen.program = QRD_SERVER_PROGRAM;
    return chosen;
  }
  static client::connection_options handshake(bool wide_longs) {
    client::connection_options chosen;
    chosen.wide_longs = wide_longs;
    return chosen;
  }

  client::server_process process_;
  client::connection connection_;
};

// Bytes on the wire of a text, and of an answer's name.
inline std::size_t text_size(std::size_t characters) {
  return 4 + (characters + 3) / 4 * 4;
}
inline constexpr std::size_t done_size = 12;   // "SDONE"
inline constexpr std::size_t dataf_size = 12;  // "SDATAF"
// The current variable whole, out and in; with long counts.
inline std::string read_all_request() {
  return client::packet("CREADVARF").add_long(-1).add_long(-1).add_int(0).bytes();
}
inline std::string write_all_request(std::span<const double> values) {
  client::packet request("CWRITVARF");
  request.add_long(-1).add_long(-1).add_int(0).add_double(client::missing_value);
  request.add_long(static_cast<std::int64_t>(values.size())).add_doubles(values);
  return request.bytes();
}
// SDATAF, the count, the test value, the samples.
inline std::size_t read_answer_size(std::int64_t samples) {
  return dataf_size + 8 + 8 + static_cast<std::size_t>(samples) * sizeof(double);
}

}  // namespace qrd::bench
