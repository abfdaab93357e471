#include "server/one_port.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <string>
#include <vector>

#include "wire/console.h"
#include "wire/exec_server.h"
#include "wire/messages.h"
#include "wire/network.h"
#include "wire/sessions.h"
#include "wire/signals.h"

namespace qrd {

namespace {

constexpr int short_rest = 100;  // ms
constexpr int look_time = 1000;  // ms, where nothing can tell of the end of a session

// Tells of the ends of sessions by a descriptor, and waits for what has ended.
class session_ends {
 public:
  session_ends() {
    // Ignored, the system would dispose of the children and of how they have ended.
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t child_ends;
    sigemptyset(&child_ends);
    sigaddset(&child_ends, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child_ends, nullptr);
    descriptor_ = signalfd(-1, &child_ends, SFD_CLOEXEC | SFD_NONBLOCK);
  }
  session_ends(const session_ends&) = delete;
  session_ends& operator=(const session_ends&) = delete;
  ~session_ends() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  int descriptor() const { return descriptor_; }

  void take() const {
    signalfd_siginfo told;
    while (descriptor_ >= 0 && read(descriptor_, &told, sizeof told) > 0) continue;
    int status = 0;
    for (pid_t process; (process = waitpid(-1, &status, WNOHANG)) > 0;) {
      const std::string client = sessions.remove(process);
      // It could not say so itself.
      if (WIFSIGNALED(status))
        _qrd_error("Session %d of %s was ended by signal %d.", process, client.c_str(), WTERMSIG(status));
    }
  }

 private:
  int descriptor_ = -1;
};

std::vector<std::string> words_for_session(const server_options& options) {
  std::vector<std::string> words = {server_program, "-inetd"};
  if (connection.client_version != 0) {
    words.emplace_back("-client_version");
    words.push_back(std::to_string(connection.client_version));
  }
  if (console.debug) words.emplace_back("-debug");
  if (options.quiet) words.emplace_back("-quiet");
  return words;
}

void give_session(const char* const* arguments, socket_handle client) {
  const std::string name = peer_name(client);
  if (!sessions.has_room(name)) return;
  const std::int32_t process = start_session(arguments, client);
  if (process >= 0) {
    sessions.add(process, name);
  } else {
    // Processes or memory are short: the clients to come shall not all be turned away in an instant.
    poll(nullptr, 0, short_rest);
  }
}

}  // namespace

void serve_one_port(const server_options& options) {
  const session_ends ends;
  const std::vector<std::string> words = words_for_session(options);
  std::vector<const char*> arguments;
  for (const std::string& word : words) arguments.push_back(word.c_str());
  arguments.push_back(nullptr);
  // Whoever has got through to this port is served: not even the end of this process turns him away.
  unwatch_socket(connection.listen_socket);
  const int descriptors[] = {static_cast<int>(connection.listen_socket), ends.descriptor(), end_descriptor()};
  const bool is_told = descriptors[1] >= 0 && descriptors[2] >= 0;
  for (;;) {
    pollfd waiting[] = {
        {descriptors[0], POLLIN, 0}, {descriptors[1], POLLIN, 0}, {descriptors[2], POLLIN, 0}};
    const bool is_end = end_requested();
    const int ready = poll(waiting, 3, is_end ? 0 : is_told ? -1 : look_time);
    try {
      ends.take();
      if (ready > 0 && waiting[0].revents != 0) {
        open_socket client;
        *client.address() = accept_for_other(connection.listen_socket);
        if (client.get() == no_socket) break;
        give_session(arguments.data(), client.get());
      } else if (is_end) {
        break;
      }
    } catch (const std::bad_alloc&) {
      poll(nullptr, 0, short_rest);
    }
  }
  _qrd_close_socket(&connection.listen_socket);
}

}  // namespace qrd
