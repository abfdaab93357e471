#include "wire/signals.h"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include "util/qu_critical.h"

namespace qrd {

namespace {

// How often a critical step is looked at that has lasted longer than an end may take.
constexpr timespec step_look = {0, 20'000'000};

// The listening and the client's socket, and both of a control connection.
constexpr std::size_t most_watched = 4;
constexpr int unused = -1;

std::array<std::atomic<int>, most_watched> watched = {unused, unused, unused, unused};
std::atomic<int> end_event = unused;
std::atomic<bool> end_flag = false;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "the signal handler reads them");

// Set before the signals are handled.
end_limits limits;
// Of the handler of SIGALRM and, before that can run, of the one that requests the end.
timespec last_end = {};
bool step_was_running = false;

timespec now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time;
}

void set_alarm(const timespec& time) {
  const itimerval timer = {{0, 0}, {time.tv_sec, time.tv_nsec / 1000}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

void tell_end() {
  const std::uint64_t one = 1;
  // It can't fail but where the descriptor is readable already.
  if (int event = end_event; event != unused && write(event, &one, sizeof one) < 0) return;
}

// Everything in these handlers is safe in a signal handler.
void request_end(int /*signal*/) {
  if (end_flag.exchange(true)) return;
  int saved_errno = errno;
  for (const std::atomic<int>& socket : watched)
    if (int handle = socket.load(); handle != unused) shutdown(handle, SHUT_RDWR);
  tell_end();
  last_end = now();
  last_end.tv_sec += limits.longest_wait;
  set_alarm(limits.longest_end);
  errno = saved_errno;
}

// What a step is still given: a look at it soon, and behind it the time of an end in good order.
const timespec* time_left() {
  if (now().tv_sec >= last_end.tv_sec) return nullptr;
  const bool was_running = step_was_running;
  step_was_running = critical_step::is_running();
  if (step_was_running) return &step_look;
  return was_running ? &limits.longest_end : nullptr;
}

void end_or_wait(int /*signal*/) {
  int saved_errno = errno;
  if (const timespec* time = time_left()) {
    set_alarm(*time);
    errno = saved_errno;
    return;
  }
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

void install_signal_handlers(const end_limits& wanted) {
  limits = wanted;
  handle(SIGPIPE, SIG_IGN);
  handle(SIGXFSZ, SIG_IGN);
  handle(SIGALRM, end_or_wait);
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

int end_descriptor() {
  if (end_event == unused) {
    end_event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (end_flag) tell_end();
  }
  return end_event;
}

}  // namespace qrd
