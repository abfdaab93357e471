// Signals that ask a program to end, while it has something to put in order first.
#pragma once

#include <signal.h>

#include "qrd/error.h"

namespace qrd::command {

// The program was asked to end.
class interrupted : public client::error {
 public:
  explicit interrupted(int number) : client::error("interrupted"), number_(number) {}
  int number() const { return number_; }

 private:
  int number_;
};

// While one lives, SIGINT, SIGTERM and SIGHUP are noted and don't end the process; the second of a kind does.
// One that is ignored stays ignored. One guard at a time.
class interruption_guard {
 public:
  interruption_guard();
  interruption_guard(const interruption_guard&) = delete;
  interruption_guard& operator=(const interruption_guard&) = delete;
  ~interruption_guard();

 private:
  static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
  struct sigaction before_[3];
};

// Throws `interrupted` if a signal was noted. To be called where a piece of work is whole.
void check_interruption();

}  // namespace qrd::command
