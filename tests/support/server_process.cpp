#include "support/server_process.h"

#include <arpa/inet.h>
#include <spawn.h>
#include <sys/syscall.h>

#include <system_error>

namespace qrd::test {

namespace {

constexpr std::chrono::milliseconds longest_wait = 20s;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool is_readable(int descriptor, std::chrono::milliseconds time) {
  pollfd waiting = {descriptor, POLLIN, 0};
  int ready = poll(&waiting, 1, static_cast<int>(time.count()));
  if (ready < 0) fail("poll");
  return ready > 0;
}

std::vector<char*> pointers(strings& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

strings environment_for(const std::map<std::string, std::string>& changes) {
  strings result;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    std::string text = *entry;
    std::string name = text.substr(0, text.find('='));
    if (!name.starts_with("QRD_") && !changes.contains(name)) result.push_back(text);
  }
  for (const auto& [name, value] : changes) result.push_back(name + "=" + value);
  return result;
}

}  // namespace

raw_connection::raw_connection(int descriptor, int sending_pipe)
    : descriptor_(descriptor), sending_pipe_(sending_pipe) {}

raw_connection::raw_connection(raw_connection&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      sending_pipe_(std::exchange(other.sending_pipe_, -1)) {}

raw_connection& raw_connection::operator=(raw_connection&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(sending_pipe_, other.sending_pipe_);
  return *this;
}

raw_connection::~raw_connection() {
  close();
}

void raw_connection::close() {
  for (int* descriptor : {&descriptor_, &sending_pipe_}) {
    if (*descriptor >= 0) ::close(*descriptor);
    *descriptor = -1;
  }
}

raw_connection raw_connection::to_port(std::uint16_t port) {
  raw_connection result(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (result.descriptor_ < 0) fail("socket");
  sockaddr_in address = loopback(port);
  if (::connect(result.descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    fail("connect");
  return result;
}

void raw_connection::send(std::string_view data) {
  while (!data.empty()) {
    const ssize_t sent = sending_pipe_ >= 0 ? ::write(sending_pipe_, data.data(), data.size())
                                            : ::send(descriptor_, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent < 0) fail("send");
    data.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::string raw_connection::receive(std::size_t count) {
  std::string data(count, '\0');
  for (std::size_t done = 0; done < count;) {
    if (!is_readable(descriptor_, longest_wait)) throw std::runtime_error("the server is silent");
    ssize_t received = read(descriptor_, data.data() + done, count - done);
    if (received < 0) fail("read");
    if (received == 0)
      throw std::runtime_error("the server closed the connection after " + std::to_string(done) + " bytes");
    done += static_cast<std::size_t>(received);
  }
  return data;
}

std::string raw_connection::receive_rest() {
  std::string data;
  for (;;) {
    if (!is_readable(descriptor_, longest_wait)) throw std::runtime_error("the server is silent");
    char part[4096];
    ssize_t received = read(descriptor_, part, sizeof part);
    if (received < 0 && errno != ECONNRESET) fail("read");
    if (received <= 0) return data;
    data.append(part, static_cast<std::size_t>(received));
  }
}

bool raw_connection::is_silent(std::chrono::milliseconds time) {
  return !is_readable(descriptor_, time);
}

std::string raw_connection::exchange(std::string_view request, std::size_t answer_size) {
  send(request);
  return receive(answer_size);
}

listening_port::listening_port() : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  if (descriptor_ < 0 || bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
      listen(descriptor_, 16) != 0 ||
      getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
    fail("listen");
  port_ = ntohs(address.sin_port);
}

listening_port::~listening_port() {
  ::close(descriptor_);
}

std::optional<raw_connection> listening_port::accept(std::chrono::milliseconds time) {
  if (!is_readable(descriptor_, time)) return std::nullopt;
  int accepted = accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
  if (accepted < 0) fail("accept");
  return raw_connection(accepted);
}

server_process::server_process(server_settings settings) {
  std::optional<listening_port> control;
  strings arguments = {settings.program};
  for (std::string& argument : settings.arguments) arguments.push_back(std::move(argument));
  if (settings.controlled) {
    control.emplace();
    arguments.emplace_back("-control");
    arguments.push_back(std::to_string(control->port()));
  }
  strings environment = environment_for(settings.environment);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  constexpr int write_new = O_WRONLY | O_CREAT | O_APPEND;
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, (directory_ / "output").c_str(), write_new, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (directory_ / "errors").c_str(), write_new, 0600);
  for (int stream = 0; stream < 3; ++stream)
    if (const int given = settings.streams[static_cast<std::size_t>(stream)]; given >= 0)
      posix_spawn_file_actions_adddup2(&actions, given, stream);
  posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  int error = posix_spawn(&process_, settings.program.c_str(), &actions, nullptr, pointers(arguments).data(),
                          pointers(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), settings.program);
  if (!control) return;
  try {
    port_ = reported_port(*control);
  } catch (...) {
    kill_now();
    throw;
  }
}

server_process::~server_process() {
  kill_now();
}

std::uint16_t server_process::reported_port(listening_port& control) {
  std::optional<raw_connection> call;
  for (auto end = clock::now() + longest_wait; !call;) {
    if (!is_running() || clock::now() >= end)
      throw std::runtime_error("the server did not call: " + errors());
    call = control.accept(50ms);
  }
  std::string word = call->receive(4);
  return static_cast<std::uint16_t>(static_cast<unsigned char>(word[2]) << 8 |
                                    static_cast<unsigned char>(word[3]));
}

void server_process::kill_now() {
  if (status_) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  status_ = 128 + SIGKILL;
}

void server_process::send_signal(int signal) const {
  kill(process_, signal);
}

bool server_process::is_running() {
  return !wait(0ms).has_value();
}

std::optional<int> server_process::wait(std::chrono::milliseconds time) {
  if (status_) return status_;
  if (time > 0ms) {
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
    if (descriptor < 0) fail("pidfd_open");
    is_readable(descriptor, time);
    ::close(descriptor);
  }
  int status = 0;
  const pid_t ended = waitpid(process_, &status, WNOHANG);
  if (ended < 0) fail("waitpid");
  if (ended == process_) status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return status_;
}

std::optional<int> server_process::stop() {
  send_signal(SIGTERM);
  return wait();
}

std::string server_process::output() const {
  return read_file(directory_ / "output");
}

std::string server_process::errors() const {
  return read_file(directory_ / "errors");
}

server_run run_server(server_settings settings) {
  settings.controlled = false;
  server_process server(std::move(settings));
  std::optional<int> status = server.wait();
  return {status, server.output(), server.errors()};
}

}  // namespace qrd::test
