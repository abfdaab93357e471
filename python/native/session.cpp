#include "python/native/session.h"

#include <unistd.h>

#include <chrono>
#include <utility>

#include "qrd/error.h"

namespace qrd::python {

namespace py = pybind11;

namespace {

constexpr std::chrono::milliseconds look_time{100};

bool is_at_the_end() {
#if PY_VERSION_HEX >= 0x030d0000
  return Py_IsFinalizing() != 0;
#else
  return _Py_IsFinalizing() != 0;
#endif
}

}  // namespace

void check_signals() {
  if (gettid() != getpid()) return;
  const py::gil_scoped_acquire held;
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

released_gil::~released_gil() noexcept(false) {
  while (is_at_the_end() && gettid() != getpid()) pause();
  PyEval_RestoreThread(thread_);
}

session::session(client::database_options options) : process_(getpid()) {
  options.wait = check_signals;
  const released_gil released;
  database_.emplace(std::move(options));
}

session::~session() {
  const released_gil released;
  end();
}

void session::take_turn() {
  std::unique_lock guard(mutex_);
  // A handler of a signal, or a finalizer, that came in the middle of a call would wait for ever.
  if (user_ == std::this_thread::get_id())
    throw client::error("the database is in use by a call of this thread that isn't over");
  while (user_) {
    free_.wait_for(guard, look_time);
    guard.unlock();
    check_signals();
    guard.lock();
  }
  user_ = std::this_thread::get_id();
}

void session::end_turn() {
  const std::scoped_lock guard(mutex_);
  user_.reset();
  free_.notify_one();
}

client::database& session::open_database() {
  if (!database_) throw closed_database();
  if (process_ != getpid()) {
    // The connection is the parent's, and so is a server of one's own.
    if (database_->is_open()) database_->at_root().abandon();
    process_ = getpid();
  }
  database_->use_unit("");
  return *database_;
}

void session::end() {
  if (database_ && process_ != getpid() && database_->is_open()) database_->at_root().abandon();
  database_.reset();
}

bool session::close(bool wait) {
  const released_gil released;
  if (!wait) {
    const std::scoped_lock guard(mutex_);
    if (user_) return false;
  }
  const turn mine(*this);
  end();
  return true;
}

bool session::is_closed() const {
  return !database_;
}

}  // namespace qrd::python
