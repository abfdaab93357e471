#include "util/qu_sync.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "util/qu_directory.h"
#include "util/qu_file.h"

namespace qrd {

namespace {

int pauses = 0;

// Some file systems have nothing to wait for, and say so.
bool no_such_thing(int reason) {
  return reason == EINVAL || reason == EROFS || reason == ENOTSUP || reason == EBADF;
}

bool is_waited_for(const struct stat& status) {
  return qu_durability() != durability::small || status.st_size <= small_file_bytes;
}

bool sync_small(int file) {
  struct stat status;
  if (fstat(file, &status) != 0) return false;
  return !is_waited_for(status) || qu_sync_whole_file(file);
}

// Opens what lies at the path just to wait for it.
bool sync_path(const std::string& path, bool is_folder) {
  const int handle = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (handle < 0) return false;
  const bool done = is_folder ? fsync(handle) == 0 || no_such_thing(errno) : sync_small(handle);
  const int reason = errno;
  close(handle);
  errno = reason;
  return done;
}

// Lets the disk begin with a small file, and doesn't wait: the files of a tree are then written side by side,
// and the first wait takes the file system's own records of all of them along.
void start_writing(const std::string& path) {
  const int handle = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (handle < 0) return;
  struct stat status;
  if (fstat(handle, &status) == 0 && is_waited_for(status))
    sync_file_range(handle, 0, 0, SYNC_FILE_RANGE_WRITE);
  close(handle);
}

// The files of a tree, and its folders, each before those in it.
bool list_tree(const std::string& path, std::vector<std::string>& files, std::vector<std::string>& folders) {
  folders.push_back(path);
  const directory_listing listing(path.c_str());
  if (!listing) return false;
  while (const char* name = listing.next()) {
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
    const std::string entry = path + path_separator + name;
    struct stat status;
    if (lstat(entry.c_str(), &status) != 0) return false;
    if (!S_ISDIR(status.st_mode))
      files.push_back(entry);
    else if (!list_tree(entry, files, folders))
      return false;
  }
  return true;
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

bool qu_sync_written(int file) {
  return pauses > 0 || qu_durability() != durability::all || qu_sync_whole_file(file);
}

bool qu_remove_file(const char* path) {
  const std::string folder = qu_folder_of(path);  // takes memory, which must not fail behind the removal
  return unlink(path) == 0 ? qu_sync_folder(folder) : qu_is_gone(errno);
}

bool qu_sync_folder(const std::string& path) {
  return pauses > 0 || qu_durability() != durability::all || qu_sync_folder_first(path);
}

bool qu_sync_folder_first(const std::string& path) {
  return qu_durability() == durability::none || sync_path(path.empty() ? "." : path, true);
}

bool qu_sync_tree(const std::string& path) {
  if (qu_durability() == durability::none) return true;
  std::vector<std::string> files, folders;
  if (!list_tree(path, files, folders)) return false;
  for (const std::string& file : files) start_writing(file);
  for (const std::string& file : files)
    if (!sync_path(file, false)) return false;
  if (qu_durability() != durability::all) return true;
  // The deepest first.
  return std::all_of(folders.rbegin(), folders.rend(),
                     [](const std::string& folder) { return sync_path(folder, true); });
}

sync_pause::sync_pause() {
  ++pauses;
}

sync_pause::~sync_pause() {
  --pauses;
}

}  // namespace qrd
