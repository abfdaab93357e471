#include "util/qu_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "util/qu_directory.h"
#include "util/qu_hooks.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

struct open_way {
  int flags;         // of open
  const char* mode;  // of fdopen
};

// By file_mode. Nothing waits for the other end of a pipe.
constexpr int common_flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr int append_flags = O_CREAT | O_APPEND;
constexpr int write_flags = O_CREAT | O_TRUNC;
constexpr open_way open_ways[] = {{O_RDONLY, "r"},
                                  {O_RDWR, "r+"},
                                  {O_RDONLY, "rb"},
                                  {O_RDWR, "rb+"},
                                  {O_WRONLY | append_flags, "a"},
                                  {O_RDWR | append_flags, "a+"},
                                  {O_WRONLY | append_flags, "ab"},
                                  {O_RDWR | append_flags, "ab+"},
                                  {O_WRONLY | write_flags, "w"},
                                  {O_RDWR | write_flags, "w+"},
                                  {O_WRONLY | write_flags, "wb"},
                                  {O_RDWR | write_flags, "wb+"}};

// Bytes that a text file is judged by.
constexpr std::size_t judged_bytes = 1024;

bool too_many_files() {
  return errno == EMFILE || errno == ENFILE;
}

void close_keeping_errno(std::FILE* stream) {
  const int number = errno;
  std::fclose(stream);
  errno = number;
}

// Null for what is no ordinary file.
std::FILE* stream_of(int handle, const char* mode) {
  struct stat status;
  std::FILE* stream = nullptr;
  if (fstat(handle, &status) == 0) {
    if (S_ISREG(status.st_mode))
      stream = fdopen(handle, mode);
    else
      errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  }
  const int number = errno;
  if (stream == nullptr) close(handle);
  errno = number;
  return stream;
}

std::FILE* open_stream(const char* path, const open_way& how) {
  constexpr mode_t everybody = 0666;
  int handle = open(path, how.flags | common_flags, everybody);
  if (handle < 0 && too_many_files()) handle = open(path, how.flags | common_flags, everybody);
  return handle < 0 ? nullptr : stream_of(handle, how.mode);
}

bool looks_like_text(std::FILE* stream, const char* path) {
  std::array<unsigned char, judged_bytes> start;
  std::size_t count = std::fread(start.data(), 1, start.size(), stream);
  bool is_text = std::all_of(start.begin(), start.begin() + static_cast<std::ptrdiff_t>(count),
                             [](unsigned char c) { return c >= 32 || c == 9 || c == 10 || c == 13; });
  if (!is_text) {
    qu_message("Warning: File named %s seems to be a binary when an ASCII file was expected.", path);
    qu_message("-------  Reading cancelled.");
    return false;
  }
  if (count > 0) std::rewind(stream);
  return true;
}

std::FILE* open_file(const char* path, file_mode mode, bool fatal) {
  if (!qu_is_valid_path(path)) {
    errno = EINVAL;
    return nullptr;
  }
  std::FILE* stream = open_stream(path, open_ways[mode]);
  if (stream == nullptr) return nullptr;
  if (!fatal && (mode == read_text || mode == update_text) && !looks_like_text(stream, path)) {
    errno = EINVAL;
    close_keeping_errno(stream);
    return nullptr;
  }
  return stream;
}

struct held_handles {
  std::vector<int> held;
  ~held_handles() {
    for (const int handle : held) close(handle);
  }
};

}  // namespace

bool qu_is_valid_path(const char* path) {
  bool valid = std::strpbrk(path, "?*|\"<>") == nullptr;
  // A colon at the second place was a drive.
  if (valid && strnlen(path, 3) == 3) valid = std::strchr(path + 3, ':') == nullptr;
  if (!valid) qu_message("File name \"%s\" contains invalid characters", path);
  return valid;
}

std::FILE* qu_file_open_n(const char* path, file_mode mode) {
  return open_file(path, mode, false);
}

std::int64_t qu_file_read_start(const char* path, void* buffer, std::size_t room) {
  if (!qu_is_valid_path(path)) {
    errno = EINVAL;
    return -1;
  }
  const int file = open(path, O_RDONLY | common_flags);
  if (file < 0) return -1;
  ssize_t count = 0;
  do count = read(file, buffer, room);
  while (count < 0 && errno == EINTR);
  const int number = errno;
  close(file);
  errno = number;
  return count;
}

std::FILE* qu_file_open_f(const char* path, file_mode mode) {
  std::FILE* stream = open_file(path, mode, true);
  if (stream != nullptr) return stream;
  const char* reason = qu_strerror(1);
  qu_message("WARNING: A FATAL ERROR OCCURED WHEN OPENING A FILE");
  qu_message("IN THE VELMAR FILE SYSTEM... FILE NAME:");
  qu_message("%s", path);
  qu_message("\nSYSTEM ERROR MESSAGE:");
  qu_message("%s", reason);
  qu_message("FATAL ERROR in qu_file_open_f while opening:\n%s", path);
  qu_recover_advice(true);
  std::abort();  // the advice has ended the process
}

std::string qu_folder_of(std::string_view path) {
  const std::size_t end = path.find_last_of(path_separator);
  return end == std::string_view::npos ? "" : std::string(path.substr(0, end + 1));
}

bool qu_same_file(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool qu_file_readable(const char* path) {
  return qu_path_readable(path) && qu_file_isdirectory(path) == 0;
}

bool qu_path_readable(const char* path) {
  return access(path, R_OK) == 0;
}

int qu_test_open_file(int count) {
  constexpr int largest_count = 512;
  if (count > largest_count) return 0;
  held_handles handles;
  for (int i = 0; i < count; i++) {
    // The path is looked at once: copies take the places of the other files.
    const int handle = i == 0 ? open(hooks.handle_test_path, O_RDONLY | common_flags)
                              : fcntl(handles.held.front(), F_DUPFD_CLOEXEC, 0);
    if (handle < 0) {
      if (too_many_files()) return 0;
      const char* reason = qu_strerror(1);
      qu_message("WARNING: A FATAL ERROR OCCURED WHEN OPENING A FILE");
      qu_message("IN THE VELMAR FILE SYSTEM... FILE NAME:");
      qu_message("%s", hooks.handle_test_path);
      qu_message("SYSTEM ERROR MESSAGE:\n%s", reason);
      qu_fatal("FATAL ERROR in qu_test_open_file");
    }
    handles.held.push_back(handle);
  }
  return 1;
}

void qu_report_too_many_files(const char* failed, const char* before) {
  qu_message("%sWARNING: TOO MANY FILES OPEN SIMULTANEOUSLY:\n", before);
  qu_message("         %s...\n\n", failed);
}

std::int64_t qu_file_tell(std::FILE* stream) {
  return ftello(stream);
}

int qu_file_seek(std::FILE* stream, std::int64_t offset, int origin) {
  if (origin == 2) std::fflush(stream);
  int whence = origin == 0 ? SEEK_SET : origin == 1 ? SEEK_CUR : SEEK_END;
  return fseeko(stream, offset, whence) == 0 ? 0 : -1;
}

}  // namespace qrd
