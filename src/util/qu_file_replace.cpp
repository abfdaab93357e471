#include "util/qu_file_replace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "util/qu_critical.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_rename.h"
#include "util/qu_string.h"
#include "util/qu_sync.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

// The folder that nobody sees, with a separator behind it, or an empty text.
path_text unseen = "";

bool is_unseen(const std::string& path) {
  return unseen[0] != '\0' && path.starts_with(unseen);
}

// A folder may forbid what its files allow: to whom it does not belong, or because a file is a mount.
bool folder_forbids(int reason) {
  return reason == EACCES || reason == EPERM || reason == EROFS || reason == EBUSY || reason == EXDEV;
}

std::string temporary_folder() {
  const char* folder = std::getenv("TMPDIR");
  return std::string(folder != nullptr && *folder == '/' ? folder : "/tmp") + path_separator;
}

// Where a symbolic link ends, or an empty text.
std::string real_path(const char* path) {
  char* resolved = realpath(path, nullptr);
  if (resolved == nullptr) return "";
  std::string result = resolved;
  std::free(resolved);
  return result;
}

struct owned_file {
  explicit owned_file(int descriptor) : handle(descriptor) {}
  owned_file(const owned_file&) = delete;
  owned_file& operator=(const owned_file&) = delete;
  ~owned_file() {
    const int reason = errno;
    if (handle >= 0) close(handle);
    errno = reason;
  }
  int handle;
};

// Opens a new file of a folder, with a lock that tells it from what the dead have left; its path, or an empty
// text.
std::string make_working_file(const std::string& folder, char purpose, mode_t mode, int& handle) {
  const auto make = [&](const std::string& name) {
    const std::string path = folder + name;
    handle = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
    if (handle < 0) return -1;
    // Whoever tidies up may have been quicker than the lock.
    struct stat status;
    if (qu_lock_file(handle) != file_locking::held_by_other && fstat(handle, &status) == 0 &&
        status.st_nlink > 0)
      return 0;
    close(handle);
    errno = EEXIST;
    return -1;
  };
  const std::string name = qu_with_working_name(qu_working_file_name, purpose, make);
  return name.empty() ? "" : folder + name;
}

bool copy_content(int from, int to) {
  std::vector<char> block(65536);
  for (off_t position = 0;;) {
    const ssize_t count = pread(from, block.data(), block.size(), position);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0 && ftruncate(to, position) == 0;
    for (ssize_t done = 0; done < count;) {
      const ssize_t written =
          pwrite(to, block.data() + done, static_cast<std::size_t>(count - done), position + done);
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      done += written;
    }
    position += count;
  }
}

// As far as it is allowed.
void keep_owner(int handle, const struct stat& old_file) {
  struct stat status;
  if (fstat(handle, &status) != 0) return;
  if (status.st_gid != old_file.st_gid && fchown(handle, static_cast<uid_t>(-1), old_file.st_gid) != 0)
    return;
  if (status.st_uid != old_file.st_uid && fchown(handle, old_file.st_uid, static_cast<gid_t>(-1)) != 0)
    return;
}

// Room for the new content before the first byte of the old one goes.
bool reserve(int handle, off_t bytes) {
  return bytes == 0 || fallocate(handle, FALLOC_FL_KEEP_SIZE, 0, bytes) == 0 || errno == EOPNOTSUPP ||
         errno == ENOSYS;
}

}  // namespace

unseen_folder::unseen_folder(const char* path) {
  std::memcpy(before_, unseen, sizeof before_);
  qu_path_join(unseen, {path, path_separator});
}

unseen_folder::~unseen_folder() {
  std::memcpy(unseen, before_, sizeof before_);
}

replaced_file::replaced_file(const char* path, file_mode mode) : path_(path) {
  struct stat old_file;
  bool exists = lstat(path, &old_file) == 0;
  if (!exists && errno != ENOENT) return;
  if (exists && S_ISLNK(old_file.st_mode)) {
    path_ = real_path(path);
    if (path_.empty() || stat(path, &old_file) != 0) return;
  }
  // A rename would pass over the protection of the file itself.
  if (exists && !S_ISREG(old_file.st_mode)) {
    errno = S_ISDIR(old_file.st_mode) ? EISDIR : EINVAL;
    return;
  }
  if (exists && access(path_.c_str(), W_OK) != 0) return;
  if (!qu_is_valid_path(path_.c_str())) {
    errno = EINVAL;
    return;
  }

  folder_ = qu_folder_of(path_);
  if (!exists && is_unseen(path_)) {
    is_unseen_ = open_unseen(mode);
    return;
  }
  if (!open_beside(mode)) {
    if (!exists || !folder_forbids(errno)) return;
    in_place_ = true;
    folder_ = temporary_folder();
    if (!open_beside(mode)) return;
  }
  if (!exists) return;
  const int handle = fileno(stream_.get());
  keep_owner(handle, old_file);
  // After the owner, whose change would clear some of them.
  if (fchmod(handle, old_file.st_mode & 07777) != 0) stream_.close();
}

bool replaced_file::open_beside(file_mode mode) {
  int handle = -1;
  const mode_t rights = in_place_ ? 0600 : 0666;
  fresh_path_ = make_working_file(folder_, being_made, rights, handle);
  return !fresh_path_.empty() && open_stream(handle, mode);
}

bool replaced_file::open_unseen(file_mode mode) {
  const int handle = open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
  if (handle < 0) return false;
  fresh_path_ = path_;
  return open_stream(handle, mode);
}

bool replaced_file::open_stream(int handle, file_mode mode) {
  stream_ = file_stream(fdopen(handle, mode == write_text ? "w+" : "wb+"));
  if (!stream_) close(handle);
  return static_cast<bool>(stream_);
}

replaced_file::~replaced_file() {
  const int reason = errno;
  if (!fresh_path_.empty()) std::remove(fresh_path_.c_str());
  errno = reason;
}

bool replaced_file::is_written() {
  return stream_ && std::fflush(stream_.get()) == 0 && std::ferror(stream_.get()) == 0 &&
         qu_sync_file(fileno(stream_.get()));
}

bool replaced_file::keep_unseen() {
  if (!is_written() || !stream_.close()) return false;
  fresh_path_.clear();
  return true;
}

// The close may be the first to tell of a failed write, so it comes before the rename. The second handle
// keeps the lock until then.
int replaced_file::finish_writing() {
  if (!is_written()) return -1;
  const int fresh = fcntl(fileno(stream_.get()), F_DUPFD_CLOEXEC, 0);
  if (fresh < 0 || stream_.close()) return fresh;
  const int reason = errno;
  close(fresh);
  errno = reason;
  return -1;
}

bool replaced_file::commit() {
  if (is_unseen_) return keep_unseen();
  const owned_file fresh(finish_writing());
  if (fresh.handle < 0) return false;
  if (in_place_) return write_in_place(fresh.handle);
  if (std::rename(fresh_path_.c_str(), path_.c_str()) != 0)
    return folder_forbids(errno) && access(path_.c_str(), W_OK) == 0 && write_in_place(fresh.handle);
  fresh_path_.clear();
  return qu_sync_folder(folder_);
}

bool replaced_file::commit_new() {
  if (is_unseen_) return keep_unseen();
  const owned_file fresh(finish_writing());
  if (fresh.handle < 0 || in_place_) return false;
  if (qu_take_name(fresh_path_, path_) != 0) return false;
  fresh_path_.clear();
  return qu_sync_folder(folder_);
}

bool replaced_file::write_in_place(int fresh) {
  owned_file target(open(path_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat status;
  if (target.handle < 0 || fstat(fresh, &status) != 0 || !reserve(target.handle, status.st_size))
    return false;
  owned_file kept(-1);
  // Nobody tidies it up: it may be all that is left of the old content.
  const std::string kept_path = make_working_file(folder_, kept_for_owner, 0600, kept.handle);
  if (kept_path.empty()) return false;
  bool done = copy_content(target.handle, kept.handle) && qu_sync_whole_file(kept.handle);
  if (done) {
    const critical_step half_written;
    done = copy_content(fresh, target.handle) && qu_sync_whole_file(target.handle);
    if (!done && !copy_content(kept.handle, target.handle)) {
      qu_message("Cannot write \"%s\": what it held is kept in \"%s\"", path_.c_str(), kept_path.c_str());
      return false;
    }
  }
  std::remove(kept_path.c_str());
  return done;
}

}  // namespace qrd
