// An advisory lock on a folder of the tree, for reading, changing and writing again. Programs that know
// nothing of it are not kept out; a holder that dies gives it up.
//
// It is a flock on the folder itself, which leaves no trace. A network file system keeps that to one machine,
// so there a file in the folder is locked as well, and removed afterwards.
#pragma once

#include <chrono>
#include <memory>

namespace qrd {

enum class lock_kind { shared, exclusive };

// How long a lock is waited for.
inline constexpr std::chrono::milliseconds lock_patience = std::chrono::seconds(10);

// Who is to be kept out.
enum class lock_reach {
  by_file_system,  // everybody who can reach the folder
  other_machines   // the same as on a network file system
};

class folder_lock {
 public:
  // Waits until nobody else holds the folder, at most for `patience`. What this process holds already it has
  // at once, and keeps until the last owner goes.
  // REQUIRES: no exclusive lock is asked for within a shared one of the same folder.
  explicit folder_lock(const char* folder, lock_kind kind = lock_kind::exclusive,
                       std::chrono::milliseconds patience = lock_patience,
                       lock_reach reach = lock_reach::by_file_system);
  folder_lock(const folder_lock&) = delete;
  folder_lock& operator=(const folder_lock&) = delete;
  folder_lock(folder_lock&&) noexcept = default;
  folder_lock& operator=(folder_lock&& other) noexcept = default;
  ~folder_lock() = default;

  // False if it was not to be had; errno tells why: EWOULDBLOCK held by somebody else, ENOENT the folder is
  // gone. True on a file system that knows no locks.
  explicit operator bool() const { return held_ != nullptr; }
  // False on a file system that knows no locks, where nobody can tell who is at work.
  bool is_real() const;
  // True if that path is still the locked folder.
  bool is_at(const char* path) const;
  void release() { held_.reset(); }

  struct holding;

 private:
  std::shared_ptr<holding> held_;
};

// Locks an open file until it is closed, without waiting.
enum class file_locking { done, held_by_other, unknown_here };
file_locking qu_lock_file(int file);

}  // namespace qrd
