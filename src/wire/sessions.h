// The sessions that this process has started, and how many there may be.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qrd {

// What the environment says; 0 is no limit.
struct session_limits {
  std::int32_t sessions = 0;              // QRD_MAX_SESSIONS
  std::int32_t sessions_per_address = 0;  // QRD_MAX_SESSIONS_PER_ADDRESS
  std::int32_t silent_seconds = 0;        // QRD_IDLE_TIMEOUT
  std::int32_t connect_seconds = 0;       // QRD_CONNECT_TIMEOUT
};
inline session_limits allowed;

// Fills `allowed`; false after a report where a variable is no number.
bool read_session_limits();

class session_list {
 public:
  // Whether one more session may begin, for this client (an address and a port); tells the console if not.
  bool has_room(const std::string& client) const;
  void add(std::int32_t process, const std::string& client);
  // The client of a session that has ended; empty if there was none.
  std::string remove(std::int32_t process);
  // Removes the sessions that the system has disposed of. REQUIRES: SIGCHLD is ignored.
  void remove_ended();

 private:
  struct session {
    std::int32_t process;
    std::string client;
  };
  std::vector<session> sessions_;
};
inline session_list sessions;

}  // namespace qrd
