#include "view/serve.h"

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

#include "view/http.h"

namespace qrd::view {

namespace {

// Without a browser, or a program that knows one, there is the printed link.
void open_browser(std::string url) {
  char program[] = "xdg-open";
  char* words[] = {program, url.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  // Ctrl-C is for this program, not for the browser.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
  pid_t id = 0;
  posix_spawnp(&id, program, &actions, &attributes, words, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

void serve(const serving& wish) {
  // What an answer took goes back to the system when it has left: threads with heaps of their own, or large
  // blocks that are kept for the next one, would let memory grow with what was looked at.
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_MMAP_THRESHOLD, 128 << 10);
  mallopt(M_TRIM_THRESHOLD, 1 << 20);
  sigset_t ends, before;
  sigemptyset(&ends);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ends, number);
  pthread_sigmask(SIG_BLOCK, &ends, &before);
  source from(wish.database);
  http_server server(from, wish.port);
  std::printf("%s\n", server.url().c_str());
  std::fflush(stdout);
  std::thread running([&] { server.run(); });
  if (wish.opens_browser) open_browser(server.url());
  int number = 0;
  sigwait(&ends, &number);
  from.end();
  server.stop();
  running.join();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace qrd::view
