#include "server/signals.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include "store/qd_init.h"

namespace qrd {

namespace {

// After this time the process no longer waits for its own work: it leaves within two seconds.
constexpr timeval longest_end = {1, 700'000};

// The listening and the client's socket, and both of a control connection.
constexpr std::size_t most_watched = 4;
constexpr int unused = -1;

std::array<std::atomic<int>, most_watched> watched = {unused, unused, unused, unused};
std::atomic<bool> end_flag = false;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "the signal handler reads them");

// Everything in these two handlers is safe in a signal handler.
void request_end(int /*signal*/) {
  if (end_flag.exchange(true)) return;
  int saved_errno = errno;
  for (const std::atomic<int>& socket : watched)
    if (int handle = socket.load(); handle != unused) shutdown(handle, SHUT_RDWR);
  const itimerval timer = {{0, 0}, longest_end};
  setitimer(ITIMER_REAL, &timer, nullptr);
  errno = saved_errno;
}

void end_now(int /*signal*/) {
  if (lock_path[0] != '\0') unlink(lock_path);
  _exit(1);
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void install_signal_handlers() {
  handle(SIGPIPE, SIG_IGN);
  handle(SIGXFSZ, SIG_IGN);
  handle(SIGALRM, end_now);
  handle(SIGTERM, request_end);
  handle(SIGINT, request_end);
  // Whoever started the process may have left them blocked.
  sigset_t handled;
  sigemptyset(&handled);
  for (int signal : {SIGALRM, SIGTERM, SIGINT}) sigaddset(&handled, signal);
  sigprocmask(SIG_UNBLOCK, &handled, nullptr);
}

bool end_requested() {
  return end_flag;
}

void watch_socket(socket_handle socket) {
  auto handle = static_cast<int>(socket);
  for (std::atomic<int>& place : watched) {
    int expected = unused;
    if (place.compare_exchange_strong(expected, handle)) break;
  }
  if (end_flag) shutdown(handle, SHUT_RDWR);
}

void unwatch_socket(socket_handle socket) {
  for (std::atomic<int>& place : watched) {
    auto expected = static_cast<int>(socket);
    place.compare_exchange_strong(expected, unused);
  }
}

}  // namespace qrd
