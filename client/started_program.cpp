#include "client/started_program.h"

#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include "qrd/error.h"

namespace qrd::client {

namespace {

using std::chrono::steady_clock;

// Programs that were still about to end when they were left.
std::mutex left_mutex;
std::vector<pid_t> left_programs;

pid_t spawn(std::vector<std::string> arguments, int socket) {
  // Started by a shell that ignores the signal, and so does what it becomes.
  std::vector<std::string> words = {"sh", "-c", "trap '' INT; exec \"$@\"", "sh"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int stream : {STDIN_FILENO, STDOUT_FILENO}) posix_spawn_file_actions_adddup2(&actions, socket, stream);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigset_t defaults;
  sigemptyset(&none);
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t id = -1;
  const int status = posix_spawn(&id, "/bin/sh", &actions, &attributes, pointers.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (status != 0) throw protocol_error("cannot start " + arguments[0] + ": " + std::strerror(status));
  return id;
}

}  // namespace

void leave_program(pid_t id) {
  const std::scoped_lock lock(left_mutex);
  left_programs.push_back(id);
}

void bury_left_programs() {
  const std::scoped_lock lock(left_mutex);
  std::erase_if(left_programs, [](pid_t id) { return waitpid(id, nullptr, WNOHANG) != 0; });
}

std::vector<std::string> shell_arguments(const std::string& command) {
  return {"/bin/sh", "-c", command};
}

started_program::started_program(const std::vector<std::string>& arguments)
    : name_(arguments[0] == "/bin/sh" ? arguments.back() : arguments[0]) {
  bury_left_programs();
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    throw protocol_error(std::string("cannot open a socket: ") + std::strerror(errno));
  try {
    id_ = spawn(arguments, ends[1]);
  } catch (...) {
    close(ends[0]);
    close(ends[1]);
    throw;
  }
  close(ends[1]);
  socket_ = ends[0];
}

started_program::~started_program() {
  if (socket_ >= 0) close(socket_);
  if (id_ < 0 || ending(std::chrono::milliseconds(0))) return;
  leave_program(id_);
}

int started_program::take_socket() {
  return std::exchange(socket_, -1);
}

std::optional<std::string> started_program::ending(std::chrono::milliseconds time) {
  const auto limit = steady_clock::now() + time;
  int status = 0;
  pid_t ended = 0;
  while (id_ >= 0 && (ended = waitpid(id_, &status, WNOHANG)) == 0 && steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  if (ended != id_ || id_ < 0) return std::nullopt;
  id_ = -1;
  const std::string how = WIFEXITED(status) ? "status " + std::to_string(WEXITSTATUS(status))
                                            : "signal " + std::to_string(WTERMSIG(status));
  return "\"" + name_ + "\" ended with " + how;
}

}  // namespace qrd::client
