// The database that is looked at, for one at a time.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

#include "qrd/database.h"

namespace qrd::view {

// A lock that is had in the order in which it was asked for: who takes it again and again lets others in.
class turns {
 public:
  void lock() {
    std::unique_lock lock(mutex_);
    const std::uint64_t mine = asked_++;
    changed_.wait(lock, [&] { return mine == served_; });
  }
  void unlock() {
    const std::lock_guard lock(mutex_);
    ++served_;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t asked_ = 0;
  std::uint64_t served_ = 0;
};

class source {
 public:
  // Opens the database; throws what that throws.
  explicit source(client::database_options options) : database_(with_end(std::move(options))) {}

  // A connection that broke is opened again by the next use.
  template <typename Act>
  auto with(const Act& act) {
    const std::lock_guard lock(turns_);
    // A unit that one has asked for, and that may be none, isn't that of the next.
    database_.use_unit({});
    return act(database_);
  }

  // Whoever waits for the server gives up.
  void end() { ends_ = true; }
  const std::atomic<bool>& ending() const { return ends_; }
  const std::string& root() const { return database_.options().root; }

 private:
  client::database_options with_end(client::database_options options) {
    options.wait = [this] {
      if (ends_) throw client::error("the program ends");
    };
    return options;
  }

  std::atomic<bool> ends_ = false;
  turns turns_;
  client::database database_;
};

}  // namespace qrd::view
