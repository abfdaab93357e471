// Steps that a request to end the process must not cut: between their first and their last change a file
// is neither old nor new.
#pragma once

#include <atomic>

#include "util/qu_constants.h"

namespace qrd {

// While one lives, a signal that ends the process waits for its end, up to a limit (wire/signals.h). They
// nest, and cost a counter. Keep them short: what is read, computed and written beside comes before.
class critical_step {
 public:
  critical_step() noexcept { ++open_; }
  critical_step(const critical_step&) = delete;
  critical_step& operator=(const critical_step&) = delete;
  ~critical_step() { --open_; }

  // Safe in a signal handler.
  static bool is_running() noexcept { return open_ != 0; }

 private:
  static inline std::atomic<int> open_ = 0;
  static_assert(std::atomic<int>::is_always_lock_free, "a signal handler reads it");
};

// What a signal handler removes when the process can't end in good order: the path of the lock file of the
// open study, or empty.
inline path_text lock_path = "";

}  // namespace qrd
