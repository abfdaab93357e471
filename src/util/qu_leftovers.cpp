#include "util/qu_leftovers.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

void remove_left_folder(const std::string& path) {
  const folder_lock lock(path.c_str(), lock_kind::exclusive, std::chrono::milliseconds(0));
  if (lock && lock.is_real()) qu_file_delete_tree(path.c_str(), true);
}

void remove_left_file(const std::string& path, int file) {
  struct stat opened, named;
  if (qu_lock_file(file) == file_locking::done && fstat(file, &opened) == 0 &&
      lstat(path.c_str(), &named) == 0 && qu_same_file(opened, named))
    unlink(path.c_str());
}

}  // namespace

int qu_make_locked_folder(const std::string& path, std::optional<folder_lock>& lock) {
  if (mkdir(path.c_str(), 0777) != 0) return -1;
  lock.emplace(path.c_str(), lock_kind::exclusive, std::chrono::milliseconds(0));
  if (*lock) return 0;
  // Whoever tidies up was quicker than the lock, or it can't be had at all.
  const int reason = errno == EWOULDBLOCK || qu_is_gone(errno) ? EEXIST : errno;
  lock.reset();
  rmdir(path.c_str());
  errno = reason;
  return -1;
}

void qu_remove_leftovers(const std::string& folder, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (!qu_is_working_name(name)) continue;
    const std::string path = folder + path_separator + name;
    struct stat status;
    if (lstat(path.c_str(), &status) != 0) continue;
    if (S_ISDIR(status.st_mode)) {
      remove_left_folder(path);
    } else if (S_ISREG(status.st_mode)) {
      const int file = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
      if (file < 0) continue;
      remove_left_file(path, file);
      close(file);
    }
  }
}

}  // namespace qrd
