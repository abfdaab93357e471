#include "util/qu_sync.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace qrd {

namespace {

namespace fs = std::filesystem;

int pauses = 0;

// Some file systems have nothing to wait for, and say so.
bool no_such_thing(int reason) {
  return reason == EINVAL || reason == EROFS || reason == ENOTSUP || reason == EBADF;
}

bool sync_small(int file) {
  struct stat status;
  if (fstat(file, &status) != 0) return false;
  return (qu_durability() == durability::small && status.st_size > small_file_bytes) ||
         qu_sync_whole_file(file);
}

// Opens what lies at the path just to wait for it.
bool sync_path(const fs::path& path, bool is_folder) {
  const int handle = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (handle < 0) return false;
  const bool done = is_folder ? fsync(handle) == 0 || no_such_thing(errno) : sync_small(handle);
  const int reason = errno;
  close(handle);
  errno = reason;
  return done;
}

}  // namespace

durability qu_durability() {
  const char* wanted = std::getenv("QRD_SYNC");
  if (wanted == nullptr) return durability::small;
  const std::string_view text = wanted;
  return text == "0" ? durability::none : text == "1" ? durability::all : durability::small;
}

bool qu_sync_file(int file) {
  return pauses > 0 || qu_durability() == durability::none || sync_small(file);
}

bool qu_sync_whole_file(int file) {
  return qu_durability() == durability::none || fdatasync(file) == 0 || no_such_thing(errno);
}

bool qu_sync_folder(const std::string& path) {
  return pauses > 0 || qu_durability() != durability::all || sync_path(path.empty() ? "." : path, true);
}

bool qu_sync_tree(const std::string& path) {
  const durability wanted = qu_durability();
  if (wanted == durability::none) return true;
  const bool with_folders = wanted == durability::all;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    const bool is_folder = entry->is_directory(error) && !entry->is_symlink(error);
    if (error) break;
    if ((!is_folder || with_folders) && !sync_path(entry->path(), is_folder)) return false;
  }
  if (error) errno = error.value();
  return !error && (!with_folders || sync_path(path, true));
}

sync_pause::sync_pause() {
  ++pauses;
}

sync_pause::~sync_pause() {
  --pauses;
}

}  // namespace qrd
