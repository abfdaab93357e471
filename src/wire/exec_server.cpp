#include "wire/exec_server.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <string>
#include <string_view>

#include "wire/messages.h"
#include "wire/trace.h"

namespace qrd {

namespace {

std::string command_line(const char* path, const char* const* arguments) {
  std::string line = path != nullptr ? std::string("\"") + path + "\"" : arguments[0];
  for (const char* const* argument = arguments + 1; *argument != nullptr; ++argument)
    line.append(" ").append(*argument);
  return line;
}

// Empty if the system can't tell.
std::string path_of_this_program() {
  char own_path[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", own_path, sizeof own_path);
  std::string path(own_path, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  // Of a program that an update has replaced the system tells so; the new one has its name.
  constexpr std::string_view replaced = " (deleted)";
  if (path.ends_with(replaced) && access(path.c_str(), X_OK) != 0) path.resize(path.size() - replaced.size());
  return path;
}

// With the separator at its end.
std::string folder_of_this_program() {
  std::string path = path_of_this_program();
  path.resize(path.rfind('/') + 1);
  return path;
}

class spawn_settings {
 public:
  explicit spawn_settings(child_streams streams, socket_handle client = no_socket) {
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawn_file_actions_init(&file_actions);
    if (streams == child_streams::none)
      for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&file_actions, stream, "/dev/null", O_RDWR, 0);
    if (client != no_socket)
      posix_spawn_file_actions_adddup2(&file_actions, static_cast<int>(client), STDIN_FILENO);
    // Also those that this process itself was started with.
    posix_spawn_file_actions_addclosefrom_np(&file_actions, STDERR_FILENO + 1);
  }
  spawn_settings(const spawn_settings&) = delete;
  spawn_settings& operator=(const spawn_settings&) = delete;
  ~spawn_settings() {
    posix_spawn_file_actions_destroy(&file_actions);
    posix_spawnattr_destroy(&attributes);
  }

  posix_spawnattr_t attributes;
  posix_spawn_file_actions_t file_actions;
};

}  // namespace

child_watch::~child_watch() {
  if (descriptor_ >= 0) close(descriptor_);
}

void child_watch::watch(int process) {
  descriptor_ = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

namespace {

void trace_start(const std::string& line) {
  if (tracing.level < 2) return;
  _qrd_trace("_qrd_exec_server(%s)", line.c_str());
  _qrd_trace("Creating Process with command line: %s", line.c_str());
}

// 0 or the error.
int spawn(const std::string& program, const char* const* arguments, const spawn_settings& settings,
          pid_t& process) {
  return posix_spawnp(&process, program.c_str(), &settings.file_actions, &settings.attributes,
                      const_cast<char* const*>(arguments), environ);
}

}  // namespace

std::int32_t _qrd_exec_server(const char* path, const char* const* arguments, child_watch* watch,
                              child_streams streams) {
  trace_start(command_line(path, arguments));
  std::string program = path != nullptr ? path : arguments[0];
  const bool is_bare = program.find('/') == std::string::npos;
  const std::string beside = is_bare ? folder_of_this_program() + program : "";
  if (is_bare && access(beside.c_str(), X_OK) == 0) program = beside;

  // While the child is being started it may not vanish, so that its id stands for it. Otherwise the system
  // itself disposes of the children that end.
  std::signal(SIGCHLD, SIG_DFL);
  spawn_settings settings(streams);
  pid_t process = -1;
  int error = spawn(program, arguments, settings, process);
  if (error == 0 && watch != nullptr) watch->watch(process);
  std::signal(SIGCHLD, SIG_IGN);
  // Any child, also an earlier one, can have ended in between.
  while (waitpid(-1, nullptr, WNOHANG) > 0) continue;
  if (error != 0) {
    _qrd_error("_qrd_exec_server: %s", std::strerror(error));
    if (error == ENOENT && is_bare)
      _qrd_error("There is no program %s, nor is one named %s in PATH.", beside.c_str(), program.c_str());
    return -1;
  }
  if (tracing.level >= 2) _qrd_trace("New Process Id: %d", process);
  return process;
}

std::int32_t start_session(const char* const* arguments, socket_handle client) {
  const std::string program = path_of_this_program();
  trace_start(command_line(program.c_str(), arguments));
  const spawn_settings settings(child_streams::shared, client);
  pid_t process = -1;
  if (const int error = spawn(program, arguments, settings, process); error != 0) {
    _qrd_error("_qrd_exec_server: %s: %s", program.c_str(), std::strerror(error));
    return -1;
  }
  if (tracing.level >= 2) _qrd_trace("New Process Id: %d", process);
  return process;
}

}  // namespace qrd
