#include "util/qu_file_replace.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace qrd {

replaced_file::replaced_file(const char* path, file_mode mode) {
  path_ = path;
  struct stat old_file;
  bool exists = lstat(path, &old_file) == 0;
  if (exists && S_ISLNK(old_file.st_mode)) {
    // The link stays: the file it leads to is replaced.
    std::error_code missing;
    std::filesystem::path real = std::filesystem::canonical(path, missing);
    if (!missing) path_ = real.string();
    exists = stat(path, &old_file) == 0;
  }
  // A rename would pass over the protection of the file itself.
  if (exists && (!S_ISREG(old_file.st_mode) || access(path_.c_str(), W_OK) != 0)) return;

  // Upper case, as all names in a catalogue folder must be.
  fresh_path_ = path_ + ".T" + std::to_string(getpid());
  stream_ = file_stream(qu_file_open_n(fresh_path_.c_str(), mode));
  pending_ = static_cast<bool>(stream_);
  if (stream_ && exists && fchmod(fileno(stream_.get()), old_file.st_mode & 07777) != 0) stream_.close();
}

replaced_file::~replaced_file() {
  if (pending_) std::remove(fresh_path_.c_str());
}

bool replaced_file::commit() {
  if (!stream_ || !stream_.close() || std::rename(fresh_path_.c_str(), path_.c_str()) != 0) return false;
  pending_ = false;
  return true;
}

}  // namespace qrd
