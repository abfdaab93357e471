#include "server/close.h"

#include <cerrno>
#include <ctime>

#include "disk/store_state.h"
#include "samples/qd_study_session.h"
#include "wire/network.h"
#include "wire/trace.h"

namespace qrd {

namespace {

// Whole, whatever signals arrive.
void sleep_one_second() {
  timespec left = {1, 0};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) continue;
}

}  // namespace

void server_close() {
  if (tracing.level >= 1) _qrd_trace_enter("server_close", 0);
  sleep_one_second();
  _qrd_network_stop();
  if (store.lock_taken != 0) qd_end(0);
  if (tracing.level >= 1) _qrd_trace_exit(nullptr, 0);
}

}  // namespace qrd
