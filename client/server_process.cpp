#include "qrd/server_process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <thread>

#include "client/started_program.h"

namespace qrd::client {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* loopback_address = "127.0.0.1";
// How often a process that may have ended is looked at.
constexpr milliseconds look_time{10};

struct descriptor_owner {
  int value = -1;
  explicit descriptor_owner(int descriptor) : value(descriptor) {}
  descriptor_owner(const descriptor_owner&) = delete;
  descriptor_owner& operator=(const descriptor_owner&) = delete;
  ~descriptor_owner() {
    if (value >= 0) close(value);
  }
};

[[noreturn]] void fail(const std::string& what, int number) {
  throw error(what + ": " + std::strerror(number));
}

// A socket that listens on a free port of the loopback address, and that port.
std::pair<int, std::uint16_t> listen_on_loopback() {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) fail("cannot open a socket", errno);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(descriptor, 1) != 0 ||
      getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    const int number = errno;
    close(descriptor);
    fail("cannot listen on a port", number);
  }
  return {descriptor, ntohs(address.sin_port)};
}

// The file beside the running program if it is there, else the bare name for a search in PATH.
std::string find_program(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  std::error_code problem;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", problem);
  if (problem) return name;
  const std::string beside = (self.parent_path() / name).string();
  return access(beside.c_str(), X_OK) == 0 ? beside : name;
}

std::vector<std::string> merged_environment(const std::vector<std::pair<std::string, std::string>>& changes) {
  std::map<std::string, std::string> merged;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string line = *entry;
    const std::size_t split = line.find('=');
    if (split != std::string::npos) merged[line.substr(0, split)] = line.substr(split + 1);
  }
  // Nobody but the starter talks to it, and that on this address.
  merged["QRD_LISTEN_ADDRESS"] = loopback_address;
  for (const auto& [name, value] : changes) merged[name] = value;
  std::vector<std::string> lines;
  for (const auto& [name, value] : merged) lines.push_back(name + "=" + value);
  return lines;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

pid_t spawn(const server_options& options, std::uint16_t control_port) {
  const std::string program = find_program(options.program);
  std::vector<std::string> arguments = {program, "-control", std::to_string(control_port)};
  arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
  std::vector<std::string> environment = merged_environment(options.environment);
  const std::string output = options.output_file.empty() ? "/dev/null" : options.output_file;

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                   0666);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  // In a session of its own: a Ctrl-C on the terminal is for the program that has to put things in order with
  // it.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);

  pid_t id = -1;
  const int status = posix_spawnp(&id, program.c_str(), &actions, &attributes, pointers(arguments).data(),
                                  pointers(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (status != 0) fail("cannot start " + options.program, status);
  return id;
}

}  // namespace

server_process::server_process(const server_options& options) {
  bury_left_programs();
  const auto [listening, control_port] = listen_on_loopback();
  const descriptor_owner listener(listening);
  id_ = spawn(options, control_port);
  const auto limit = steady_clock::now() + options.patience;
  try {
    pollfd one{listener.value, POLLIN, 0};
    while (poll(&one, 1, static_cast<int>(look_time.count())) <= 0) {
      if (const auto status = wait(milliseconds(0)))
        throw error(options.program + " ended with status " + std::to_string(*status) +
                    " before it was ready");
      if (steady_clock::now() > limit) throw error(options.program + " did not get ready in time");
    }
    stream control(accept4(listener.value, nullptr, nullptr, SOCK_CLOEXEC));
    control.set_timeout(options.patience);
    const std::int32_t port = control.read_int();
    if (port < 1 || port > 0xffff) throw error(options.program + " told the port " + std::to_string(port));
    port_ = static_cast<std::uint16_t>(port);
  } catch (...) {
    end(milliseconds(0));
    throw;
  }
}

server_process::server_process(server_process&& other) noexcept
    : id_(std::exchange(other.id_, -1)), port_(other.port_), status_(other.status_) {}

server_process::~server_process() {
  if (id_ > 0) end();
}

connection server_process::connect(const connection_options& options) const {
  return connection::connect(loopback_address, port_, options);
}

std::optional<int> server_process::wait(milliseconds time) {
  const auto limit = steady_clock::now() + time;
  while (id_ > 0 && !status_) {
    int status = 0;
    const pid_t ended = waitpid(id_, &status, WNOHANG);
    if (ended == id_) status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    if (ended < 0 && errno != EINTR) break;
    if (status_ || steady_clock::now() >= limit) break;
    std::this_thread::sleep_for(std::min(look_time, std::max(milliseconds(1), time)));
  }
  return status_;
}

std::optional<int> server_process::end(milliseconds time) {
  constexpr milliseconds time_to_obey{3000};
  if (wait(time)) return status_;
  signal(SIGTERM);
  if (wait(time_to_obey)) return status_;
  signal(SIGKILL);
  return wait(time_to_obey);
}

void server_process::leave() {
  if (id_ > 0 && !status_) leave_program(id_);
  id_ = -1;
}

void server_process::signal(int number) const {
  if (id_ > 0 && !status_) kill(id_, number);
}

}  // namespace qrd::client
