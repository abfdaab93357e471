#include "server/session_report.h"

#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "wire/connection.h"
#include "wire/network.h"

namespace qrd {

namespace {

using std::chrono::steady_clock;

struct session_record {
  std::string client;
  bool is_quiet = false;
  steady_clock::time_point begin;
  session_end how = session_end::fatal;
};
// Lives longer than what runs at the exit.
session_record& record() {
  static auto* kept = new session_record;
  return *kept;
}

std::string words_for(session_end how) {
  switch (how) {
    case session_end::goodbye:
      return "goodbye";
    case session_end::broken:
      return "connection closed";
    case session_end::silent:
      return "silent for " + std::to_string(connection.longest_silence) + " s";
    case session_end::asked:
      return "asked to end";
    case session_end::fatal:
      break;
  }
  return "fatal error";
}

void report_end() {
  const session_record& session = record();
  if (session.is_quiet && session.how != session_end::silent) return;
  const std::chrono::duration<double> time = steady_clock::now() - session.begin;
  std::printf("Session %d of %s ends after %.1f s: %s; %d requests, %" PRIu64 " bytes in, %" PRIu64
              " bytes out.\n",
              getpid(), session.client.c_str(), time.count(), words_for(session.how).c_str(),
              connection.request_count, connection.bytes_in, connection.bytes_out);
  std::fflush(stdout);
}

}  // namespace

void report_session(bool is_quiet) {
  record() = {peer_name(connection.client_socket), is_quiet, steady_clock::now(), session_end::fatal};
  if (!is_quiet) std::printf("Session %d of %s begins.\n", getpid(), record().client.c_str());
  std::atexit(report_end);
}

void note_session_end(session_end how) {
  record().how = how;
}

}  // namespace qrd
