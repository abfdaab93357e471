// The command line.
#pragma once

#include <cstdint>
#include <optional>

namespace qrd {

struct server_options {
  std::uint16_t port = 0;
  std::uint16_t control_port = 0;
  bool fork = false;
  bool inetd = false;
  bool one_port = false;
  bool quiet = false;
};

// Whether the process was started with its client's connection: nothing may be printed before that is known.
bool is_started_with_connection(int argument_count, const char* const* arguments);

// Reads the options from left to right; -multi, -debug and -client_version act at once. An exit status
// when the process shall end here.
std::optional<int> read_options(int argument_count, const char* const* arguments, server_options& options);

}  // namespace qrd
