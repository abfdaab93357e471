#include "util/qu_lock.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "util/qu_file.h"

namespace qrd {

namespace {

using clock_type = std::chrono::steady_clock;

constexpr char lock_file_name[] = "L_FOLDER";

// Locks of folders reach one machine alone here.
bool is_network_file_system(int handle) {
  constexpr long others[] = {
      0xFF534D42 /* CIFS */, 0xFE534D42 /* SMB2 */, 0x00C36400 /* Ceph */,   0x01021997 /* 9P */,
      0x65735546 /* FUSE */, 0x01161970 /* GFS2 */, 0x0BD00BD0 /* Lustre */, 0x47504653 /* GPFS */};
  struct statfs status;
  if (fstatfs(handle, &status) != 0) return false;
  const long type = status.f_type;
  return type == NFS_SUPER_MAGIC || std::find(std::begin(others), std::end(others), type) != std::end(others);
}

bool knows_no_locks(int reason) {
  return reason == ENOTSUP || reason == ENOSYS || reason == ENOLCK || reason == EINVAL || reason == EBADF;
}

enum class taking { done, held_by_other, no_locks, failed };

taking take(int handle, lock_kind kind) {
  const int operation = (kind == lock_kind::shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
  while (flock(handle, operation) != 0) {
    if (errno == EINTR) continue;
    if (errno == EWOULDBLOCK) return taking::held_by_other;
    return knows_no_locks(errno) ? taking::no_locks : taking::failed;
  }
  return taking::done;
}

void close_keeping_errno(int handle) {
  const int reason = errno;
  close(handle);
  errno = reason;
}

}  // namespace

// One lock of this process; all owners of one folder share it.
struct folder_lock::holding {
  int folder = -1;
  int file = -1;  // on a network file system
  lock_kind kind = lock_kind::shared;
  bool real = true;
  pid_t process = getpid();  // a forked one has no lock of its own
  struct stat status = {};

  holding() = default;
  holding(const holding&) = delete;
  holding& operator=(const holding&) = delete;
  ~holding() {
    const int reason = errno;
    if (file >= 0) {
      // Others who share it rely on its name.
      if (take(file, lock_kind::exclusive) == taking::done) unlinkat(folder, lock_file_name, 0);
      close(file);
    }
    if (folder >= 0) close(folder);
    errno = reason;
  }

  taking open_at(const char* path) {
    folder = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return folder >= 0 && fstat(folder, &status) == 0 ? taking::done : taking::failed;
  }

  // The file must still be the one of that name when it is locked: its last holder removes it.
  taking take_file() {
    if (file >= 0) return take(file, kind);
    constexpr mode_t everybody = 0666;
    const int handle =
        openat(folder, lock_file_name, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, everybody);
    if (handle < 0) {
      // Where no file can be made nobody else makes one; where it belongs to others they are at work.
      return errno == EACCES && faccessat(folder, lock_file_name, F_OK, AT_SYMLINK_NOFOLLOW) == 0
                 ? taking::held_by_other
                 : taking::done;
    }
    taking result = take(handle, kind);
    struct stat opened, named;
    if (result == taking::no_locks) result = taking::done;
    if (result == taking::done && fstat(handle, &opened) == 0 &&
        (fstatat(folder, lock_file_name, &named, AT_SYMLINK_NOFOLLOW) != 0 || !qu_same_file(opened, named)))
      result = taking::held_by_other;
    if (result == taking::done)
      file = handle;
    else
      close_keeping_errno(handle);
    return result;
  }

  taking take_all(lock_kind wanted, lock_reach reach) {
    kind = wanted;
    const taking result = take(folder, kind);
    real = result != taking::no_locks;
    if (!real) return taking::done;
    const bool with_file = reach == lock_reach::other_machines || is_network_file_system(folder);
    return result == taking::done && with_file ? take_file() : result;
  }
};

namespace {

std::vector<std::weak_ptr<folder_lock::holding>> held_folders;

std::shared_ptr<folder_lock::holding> find_held(const struct stat& status) {
  std::erase_if(held_folders, [](const auto& each) { return each.expired(); });
  for (const auto& each : held_folders)
    if (auto held = each.lock(); held && held->process == getpid() && qu_same_file(held->status, status))
      return held;
  return nullptr;
}

bool is_still_at(const char* path, const struct stat& status) {
  struct stat now;
  return stat(path, &now) == 0 && qu_same_file(now, status);
}

}  // namespace

folder_lock::folder_lock(const char* folder, lock_kind kind, std::chrono::milliseconds patience,
                         lock_reach reach) {
  const clock_type::time_point end = clock_type::now() + patience;
  int pause_ms = 1;
  constexpr int longest_pause_ms = 20;
  std::shared_ptr<holding> wanted;
  for (;;) {
    if (!wanted) {
      wanted = std::make_shared<holding>();
      if (wanted->open_at(folder) == taking::failed) return;
      if (std::shared_ptr<holding> own = find_held(wanted->status)) {
        if (own->kind == lock_kind::exclusive || kind == lock_kind::shared)
          held_ = std::move(own);
        else
          errno = EDEADLK;
        return;
      }
    }
    switch (wanted->take_all(kind, reach)) {
      case taking::done:
        if (is_still_at(folder, wanted->status)) {
          held_folders.push_back(wanted);
          held_ = std::move(wanted);
          return;
        }
        wanted.reset();  // another one has that path now
        break;
      case taking::held_by_other:
        break;
      case taking::no_locks:
      case taking::failed:
        return;
    }
    if (clock_type::now() >= end) {
      errno = EWOULDBLOCK;
      return;
    }
    poll(nullptr, 0, pause_ms);
    pause_ms = std::min(2 * pause_ms, longest_pause_ms);
  }
}

bool folder_lock::is_at(const char* path) const {
  return held_ != nullptr && is_still_at(path, held_->status);
}

bool folder_lock::is_real() const {
  return held_ != nullptr && held_->real;
}

file_locking qu_lock_file(int file) {
  switch (take(file, lock_kind::exclusive)) {
    case taking::done:
      return file_locking::done;
    case taking::held_by_other:
      return file_locking::held_by_other;
    case taking::no_locks:
    case taking::failed:
      break;
  }
  return file_locking::unknown_here;
}

}  // namespace qrd
