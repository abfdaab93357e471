#include "command/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "qrd/error.h"

namespace qrd::command {

namespace {

// What a file gets that a program makes anew.
mode_t usual_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Moves a file to a place that is free. Not every file system can rename like that; a second name for the
// file does the same.
bool move_to_free_place(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  if (link(from, to) != 0) return false;
  unlink(from);
  return true;
}

}  // namespace

output_file::output_file(std::string path, existing_file what_is_there)
    : path_(std::move(path)), what_is_there_(what_is_there) {
  if (path_ == "-") {
    stream_ = stdout;
    return;
  }
  struct stat found {};
  const bool is_there = stat(path_.c_str(), &found) == 0;
  if (is_there && !S_ISREG(found.st_mode)) {
    stream_ = std::fopen(path_.c_str(), "wbe");
    if (stream_ == nullptr) fail(errno);
    return;
  }
  if (is_there && what_is_there_ == existing_file::kept)
    throw client::error(path_ + " is there already: it is replaced with --force only");
  // A link stays, and what it leads to is replaced.
  std::error_code problem;
  if (const auto target = std::filesystem::canonical(path_, problem); !problem) path_ = target.string();
  std::string name = path_ + ".XXXXXX";
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) fail(errno);
  working_path_ = std::move(name);
  fchmod(descriptor, is_there ? found.st_mode & 07777 : usual_mode());
  stream_ = fdopen(descriptor, "wb");
  if (stream_ != nullptr) return;
  const int number = errno;
  close(descriptor);
  unlink(working_path_.c_str());
  fail(number);
}

output_file::~output_file() {
  if (stream_ != nullptr && stream_ != stdout) std::fclose(stream_);
  if (!working_path_.empty()) unlink(working_path_.c_str());
}

void output_file::finish() {
  if (stream_ == stdout) {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) throw client::error("cannot write the output");
    return;
  }
  const bool written = std::fflush(stream_) == 0 && std::ferror(stream_) == 0 &&
                       (working_path_.empty() || fsync(fileno(stream_)) == 0);
  const int number = errno;
  const bool closed = std::fclose(std::exchange(stream_, nullptr)) == 0;
  if (!written || !closed) fail(written ? errno : number);
  if (working_path_.empty()) return;
  const bool moved = what_is_there_ == existing_file::replaced
                         ? std::rename(working_path_.c_str(), path_.c_str()) == 0
                         : move_to_free_place(working_path_.c_str(), path_.c_str());
  if (!moved) fail(errno);
  working_path_.clear();
}

void output_file::fail(int number) const {
  throw client::error("cannot write " + path_ + ": " + std::strerror(number));
}

}  // namespace qrd::command
