// A program whose standard input and output are one end of a connection.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace qrd::client {

class started_program {
 public:
  // Starts it with the arguments, the first of which is looked for in PATH. Ctrl-C doesn't reach it: what
  // uses the connection may have to put things in order first. Its standard error is that of this process.
  explicit started_program(const std::vector<std::string>& arguments);
  started_program(const started_program&) = delete;
  started_program& operator=(const started_program&) = delete;
  // It ends by itself when the connection is closed; nobody waits for that here.
  ~started_program();

  // This end of the connection, once.
  int take_socket();
  // The word for it and how it has ended, or nothing if it hasn't within the time.
  std::optional<std::string> ending(std::chrono::milliseconds time);

 private:
  std::string name_;
  pid_t id_ = -1;
  int socket_ = -1;
};

// For a program that is about to end by itself: it is not waited for, and leaves no zombie behind once
// another is started.
void leave_program(pid_t id);
void bury_left_programs();

// The arguments that make a shell run a command.
std::vector<std::string> shell_arguments(const std::string& command);

}  // namespace qrd::client
