// Opening files with checks, and what all that works on files needs. Reports go to the console; nothing of
// the folder reaches a client.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "util/qu_constants.h"

struct stat;

namespace qrd {

// Open modes; the order is fixed.
enum file_mode : int {
  read_text = 0,           // "rb", and the first 1024 bytes must look like text in qu_file_open_n
  update_text = 1,         // "rb+", likewise
  read_binary = 2,         // "rb"
  update_binary = 3,       // "rb+"
  append_text = 4,         // "a"
  append_read_text = 5,    // "a+"
  append_binary = 6,       // "ab"
  append_read_binary = 7,  // "ab+"
  write_text = 8,          // "w"
  write_read_text = 9,     // "w+"
  write_binary = 10,       // "wb"
  write_read_binary = 11   // "wb+"
};

// False after a report if a tree with such a path could not be moved to another platform.
bool qu_is_valid_path(const char* path);

// A stream, close-on-exec; directories, pipes and devices don't open (EISDIR, EINVAL), and nothing waits for
// them. A failure is fatal. May end the process.
std::FILE* qu_file_open_f(const char* path, file_mode mode);
// The same, but null on failure, and errno tells why.
std::FILE* qu_file_open_n(const char* path, file_mode mode);

// True if an opening, or another call by a path, failed with this errno because another process has taken
// away what was there.
inline bool qu_is_gone(int reason) {
  return reason == ENOENT || reason == ENOTDIR || reason == ESTALE;
}

// True if a call failed with this errno because the system or the disk could not do it now: what is wrong is
// neither the file nor a right to it.
inline bool qu_is_short_of(int reason) {
  return reason == ENOSPC || reason == EDQUOT || reason == EFBIG || reason == EIO || reason == EMFILE ||
         reason == ENFILE || reason == ENOMEM;
}

// The first bytes of a file, at most `room` of them, with the fewest calls of the system: how many, or -1
// where they can't be had.
std::int64_t qu_file_read_start(const char* path, void* buffer, std::size_t room);

// Owns a stream of the two openers.
class file_stream {
 public:
  file_stream() = default;
  explicit file_stream(std::FILE* stream) : stream_(stream) {}
  file_stream(const file_stream&) = delete;
  file_stream& operator=(const file_stream&) = delete;
  file_stream(file_stream&& other) noexcept : stream_(std::exchange(other.stream_, nullptr)) {}
  file_stream& operator=(file_stream&& other) noexcept {
    std::swap(stream_, other.stream_);
    return *this;
  }
  ~file_stream() { close(); }

  explicit operator bool() const { return stream_ != nullptr; }
  std::FILE* get() const { return stream_; }
  std::FILE* release() { return std::exchange(stream_, nullptr); }
  // True if all that was written has reached the file. Closing nothing is true.
  bool close() {
    std::FILE* stream = release();
    return stream == nullptr || std::fclose(stream) == 0;
  }

 private:
  std::FILE* stream_ = nullptr;
};

// The folder of a path with the separator behind it; empty for a mere name.
std::string qu_folder_of(std::string_view path);
// True for two looks at one file, whatever names it has.
bool qu_same_file(const struct stat& a, const struct stat& b);

// Readable by access(), and not a directory.
bool qu_file_readable(const char* path);
// Anything of that name that access() finds readable, directories included.
bool qu_path_readable(const char* path);

// 1 if `count` (at most 512) more files can be open at once. A file of the store that can't be opened for
// another reason is fatal. May end the process, as may all that call it.
int qu_test_open_file(int count);
// The report that they can't: `failed` says in capitals what fails by that, `before` stands in front.
void qu_report_too_many_files(const char* failed, const char* before = "");

std::int64_t qu_file_tell(std::FILE* stream);
// Origin 0 is the start, 1 the current position, 2 the end. 0 if done.
int qu_file_seek(std::FILE* stream, std::int64_t offset, int origin);

}  // namespace qrd
