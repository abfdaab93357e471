// The world that a fuzzed server sees: one folder, a client in memory, and an end that can be caught.
//
// The libraries of the server are linked with other names for the calls of the system that they make: no path
// outside the folder exists for them, so that nothing an input names can be read or harmed, and sleeping
// takes no time.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace qrd::fuzz {

// Thrown where the server would end the process with a message.
struct described_end {};

// The descriptor of the client in memory.
inline constexpr int client_descriptor = 1 << 20;

// The only folder there is; without a separator at its end.
void confine_to(const std::string& folder);

// What the client has sent and nobody has read. When it is used up, the client is silent and gone.
void client_sends(std::string_view bytes);
bool client_has_sent();
void client_forgets();
// All that was answered since the last call, up to some length.
std::string client_received();

// Calls `work` once before the n-th look of the server at a path from now on (an open, a listing, a status);
// an empty path: at any. Several may be wanted.
void at_look(int number, std::string path, std::function<void()> work);
void forget_looks();

// Absolute paths of what may have changed since the last call.
std::set<std::string> take_changes();

// While it lives, no file gets longer than a run may write.
class bounded_files {
 public:
  bounded_files();
  bounded_files(const bounded_files&) = delete;
  bounded_files& operator=(const bounded_files&) = delete;
  ~bounded_files();
};

// True if `work` ran through, false after a described end.
bool runs_through(const std::function<void()>& work);

}  // namespace qrd::fuzz
