#include "server/inherited.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace qrd {

namespace {

constexpr int first_passed = 3;

struct passed_descriptor {
  int number = STDIN_FILENO;
  std::string name;  // that of the service manager's unit
};

std::string taken_variable(const char* name) {
  const char* value = std::getenv(name);
  std::string text = value != nullptr ? value : "";
  unsetenv(name);
  return text;
}

passed_descriptor find_descriptor() {
  const std::string process = taken_variable("LISTEN_PID");
  const std::string count = taken_variable("LISTEN_FDS");
  const std::string names = taken_variable("LISTEN_FDNAMES");
  // They may be meant for the process that has started this one.
  if (count != "1" || process != std::to_string(getpid())) return {};
  return {first_passed, names};
}

int option_of(int socket, int option) {
  int value = -1;
  socklen_t size = sizeof value;
  return getsockopt(socket, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

// What is wrong with a socket as a connection; empty if nothing is.
std::string fault_of_socket(int socket) {
  if (option_of(socket, SO_TYPE) != SOCK_STREAM) return "a socket without a stream";
  if (option_of(socket, SO_ACCEPTCONN) == 1) return "a listening socket";
  sockaddr_storage peer;
  socklen_t size = sizeof peer;
  if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0)
    return "a socket without a connection";
  return "";
}

std::string kind_of(int descriptor, const struct stat& status) {
  if (S_ISREG(status.st_mode)) return "a file";
  if (S_ISDIR(status.st_mode)) return "a folder";
  if (S_ISFIFO(status.st_mode)) return "a pipe";
  if (S_ISSOCK(status.st_mode)) return "a socket";
  return isatty(descriptor) != 0 ? "a terminal" : "a device";
}

bool is_pipe_for(int descriptor, int wrong_mode) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode) &&
         (fcntl(descriptor, F_GETFL) & O_ACCMODE) != wrong_mode;
}

// Tells the kind of connection, or why there is none.
inherited_connection judge(const passed_descriptor& passed) {
  inherited_connection result;
  struct stat status {};
  const int descriptor = passed.number;
  std::string fault;
  if (fstat(descriptor, &status) != 0) {
    fault = "not open";
  } else if (S_ISSOCK(status.st_mode)) {
    fault = fault_of_socket(descriptor);
    if (option_of(descriptor, SO_PROTOCOL) != IPPROTO_TCP) result.kind = carrier::stream_socket;
  } else if (descriptor == STDIN_FILENO && is_pipe_for(STDIN_FILENO, O_WRONLY)) {
    result.kind = carrier::pipes;
    if (!is_pipe_for(STDOUT_FILENO, O_RDONLY)) fault = "a pipe, and there is none for the answers on 1";
  } else {
    fault = kind_of(descriptor, status);
  }
  if (fault.empty()) return result;
  result.problem =
      "-inetd needs a connected stream socket, or two pipes on descriptors 0 and 1: descriptor " +
      std::to_string(descriptor) + (passed.name.empty() ? "" : " (" + passed.name + ")") + " is " + fault +
      ".";
  return result;
}

bool is_same(int descriptor, int other) {
  struct stat one {
  }, two{};
  return fstat(descriptor, &one) == 0 && fstat(other, &two) == 0 && one.st_dev == two.st_dev &&
         one.st_ino == two.st_ino && (S_ISSOCK(one.st_mode) || S_ISFIFO(one.st_mode));
}

// A descriptor of its own that no started process gets.
socket_handle move_up(int descriptor, std::string& problem) {
  const int moved = descriptor >= first_passed ? (fcntl(descriptor, F_SETFD, FD_CLOEXEC), descriptor)
                                               : fcntl(descriptor, F_DUPFD_CLOEXEC, first_passed);
  if (moved < 0) problem = std::string("-inetd can't take the connection: ") + std::strerror(errno) + ".";
  return moved < 0 ? no_socket : moved;
}

void lead_to(int stream, const char* path) {
  const int opened = open(path, O_RDWR | O_CLOEXEC);
  if (opened < 0) {
    // Closed is as good: what is written there goes nowhere.
    close(stream);
    return;
  }
  dup2(opened, stream);
  close(opened);
}

}  // namespace

inherited_connection take_inherited_connection() {
  const passed_descriptor passed = find_descriptor();
  inherited_connection result = judge(passed);
  if (result.problem.empty()) result.client = move_up(passed.number, result.problem);
  if (result.problem.empty() && result.kind == carrier::pipes)
    result.answers = move_up(STDOUT_FILENO, result.problem);

  // Starters like to give one socket to all three streams.
  const bool pipes = result.kind == carrier::pipes;
  if (is_same(STDERR_FILENO, passed.number) || (pipes && is_same(STDERR_FILENO, STDOUT_FILENO)))
    lead_to(STDERR_FILENO, "/dev/null");
  if (passed.number == STDIN_FILENO || is_same(STDOUT_FILENO, passed.number))
    dup2(STDERR_FILENO, STDOUT_FILENO);
  if (passed.number == STDIN_FILENO || is_same(STDIN_FILENO, passed.number))
    lead_to(STDIN_FILENO, "/dev/null");
  return result;
}

}  // namespace qrd
