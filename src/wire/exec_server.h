// Starting another server process.
#pragma once

#include <cstdint>

#include "wire/connection.h"

namespace qrd {

// Owns the means to see that a started process has ended.
class child_watch {
 public:
  child_watch() = default;
  child_watch(const child_watch&) = delete;
  child_watch& operator=(const child_watch&) = delete;
  ~child_watch();
  // A descriptor that polls readable once the process has ended; -1 if the system can't give one.
  int descriptor() const { return descriptor_; }
  // Makes it the descriptor of that process.
  void watch(int process);

 private:
  int descriptor_ = -1;
};

// Where the standard streams of a started process lead.
enum class child_streams {
  shared,  // where those of this process do
  none     // to /dev/null, so that nobody waits for it who reads what this process prints
};

// Starts a program with a null-terminated list of arguments, in a session of its own and with no
// descriptor but the three standard ones. `path` is the program, or null for the first argument; a bare
// name is looked for beside the running program, then in PATH. Nobody has to wait for the process: it
// leaves no zombie. The process id, or -1 after a report. `watch` may be null.
std::int32_t _qrd_exec_server(const char* path, const char* const* arguments, child_watch* watch = nullptr,
                              child_streams streams = child_streams::shared);

// Starts this very program, with a connection that it finds as its descriptor 0 (-inetd). The caller has to
// wait for its end. The process id, or -1 after a report.
std::int32_t start_session(const char* const* arguments, socket_handle client);

}  // namespace qrd
