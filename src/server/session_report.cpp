#include "server/session_report.h"

#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>

#include "util/qu_string.h"
#include "wire/connection.h"
#include "wire/network.h"

namespace qrd {

namespace {

using std::chrono::steady_clock;

// Takes no memory from the heap: of a session that ends for want of it the end is told too.
struct session_record {
  char client[256] = "";
  bool is_quiet = false;
  steady_clock::time_point begin;
  session_end how = session_end::fatal;
} session;

const char* words_for(session_end how) {
  switch (how) {
    case session_end::goodbye:
      return "goodbye";
    case session_end::broken:
      return "connection closed";
    case session_end::silent:
      return "silent";
    case session_end::asked:
      return "asked to end";
    case session_end::fatal:
      break;
  }
  return "fatal error";
}

void report_end() {
  if (session.is_quiet && session.how != session_end::silent) return;
  char silence[32] = "";
  if (session.how == session_end::silent)
    std::snprintf(silence, sizeof silence, " for %d s", connection.longest_silence);
  const std::chrono::duration<double> time = steady_clock::now() - session.begin;
  std::printf("Session %d of %s ends after %.1f s: %s%s; %d requests, %" PRIu64 " bytes in, %" PRIu64
              " bytes out.\n",
              getpid(), session.client, time.count(), words_for(session.how), silence,
              connection.request_count, connection.bytes_in, connection.bytes_out);
  std::fflush(stdout);
}

}  // namespace

void report_session(bool is_quiet) {
  qu_string_copy(peer_name(connection.client_socket).c_str(), session.client);
  session.is_quiet = is_quiet;
  session.begin = steady_clock::now();
  if (!is_quiet) std::printf("Session %d of %s begins.\n", getpid(), session.client);
  std::atexit(report_end);
}

void note_session_end(session_end how) {
  session.how = how;
}

}  // namespace qrd
