// A database that a Python object holds: who may use it when, and how a signal gets through.
#pragma once

#include <pybind11/pybind11.h>
#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "qrd/database.h"

namespace qrd::python {

// Lets Python's handlers of the signals that came run, and throws what they raise, such as KeyboardInterrupt.
// Called without the GIL. Does nothing outside of the main thread, where Python runs no handler.
void check_signals();

// Gives the GIL to other threads. At the end of the interpreter a thread that wants it back is ended, which
// no destructor of C++ on its stack survives: it waits for the end of the process instead.
class released_gil {
 public:
  released_gil() : thread_(PyEval_SaveThread()) {}
  released_gil(const released_gil&) = delete;
  released_gil& operator=(const released_gil&) = delete;
  ~released_gil() noexcept(false);

 private:
  PyThreadState* thread_;
};

class session {
 public:
  // Called with the GIL, as all that follows.
  explicit session(client::database_options options);
  session(const session&) = delete;
  session& operator=(const session&) = delete;
  ~session();

  // Calls `act` with the database: without the GIL, one thread at a time, lengths in each variable's own
  // unit. A database that was closed is a `closed_database`. A process that was forked opens a connection of
  // its own.
  template <typename Act>
  auto use(const Act& act) {
    const released_gil released;
    const turn mine(*this);
    return act(open_database());
  }

  // Ends a server of one's own. Waits for what another thread does, unless `wait` is false: then false tells
  // that nothing was closed.
  bool close(bool wait = true);
  bool is_closed() const;

 private:
  // While one lives, no other thread uses the database.
  class turn {
   public:
    explicit turn(session& owner) : owner_(owner) { owner.take_turn(); }
    turn(const turn&) = delete;
    turn& operator=(const turn&) = delete;
    ~turn() { owner_.end_turn(); }

   private:
    session& owner_;
  };

  void take_turn();
  void end_turn();
  client::database& open_database();
  void end();

  std::optional<client::database> database_;
  pid_t process_;
  mutable std::mutex mutex_;
  std::condition_variable free_;
  std::optional<std::thread::id> user_;
};

struct closed_database : std::runtime_error {
  closed_database() : runtime_error("the database is closed") {}
};

}  // namespace qrd::python
