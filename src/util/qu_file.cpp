#include "util/qu_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

path_text handle_test_path = "";

namespace {

// By file_mode; "e" is close-on-exec.
constexpr const char* mode_texts[] = {"rbe", "rb+e", "rbe", "rb+e", "ae",  "a+e",
                                      "abe", "ab+e", "we",  "w+e",  "wbe", "wb+e"};

// Bytes that a text file is judged by.
constexpr std::size_t judged_bytes = 1024;

bool has_valid_characters(const char* path) {
  bool valid = std::strpbrk(path, "?*|\"<>") == nullptr;
  // A colon at the second place was a drive.
  if (valid && strnlen(path, 3) == 3) valid = std::strchr(path + 3, ':') == nullptr;
  if (!valid) qu_message("File name \"%s\" contains invalid characters", path);
  return valid;
}

bool too_many_files() {
  return errno == EMFILE || errno == ENFILE;
}

std::FILE* open_stream(const char* path, const char* mode) {
  std::FILE* stream = std::fopen(path, mode);
  if (stream == nullptr && too_many_files()) stream = std::fopen(path, mode);
  return stream;
}

void close_keeping_errno(std::FILE* stream) {
  int number = errno;
  std::fclose(stream);
  errno = number;
}

// A directory opens for reading, but its first byte can't be read. Asking for that byte costs no
// system call of its own: it stays in the buffer for the caller.
bool is_directory_stream(std::FILE* stream) {
  int first = std::getc(stream);
  if (first != EOF) {
    std::ungetc(first, stream);
    return false;
  }
  if (std::ferror(stream) != 0 && errno == EISDIR) return true;
  std::clearerr(stream);
  return false;
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
  if (!has_valid_characters(path)) {
    errno = EINVAL;
    return nullptr;
  }
  std::FILE* stream = open_stream(path, mode_texts[mode]);
  if (stream == nullptr) return nullptr;
  if ((mode == read_text || mode == read_binary) && is_directory_stream(stream)) {
    close_keeping_errno(stream);
    return nullptr;
  }
  if (!fatal && (mode == read_text || mode == update_text) && !looks_like_text(stream, path)) {
    errno = EINVAL;
    close_keeping_errno(stream);
    return nullptr;
  }
  return stream;
}

}  // namespace

std::FILE* qu_file_open_n(const char* path, file_mode mode) {
  return open_file(path, mode, false);
}

std::int64_t qu_file_read_start(const char* path, void* buffer, std::size_t room) {
  if (!has_valid_characters(path)) return -1;
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return -1;
  const ssize_t count = read(file, buffer, room);
  close(file);
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

bool qu_file_readable(const char* path) {
  return qu_path_readable(path) && qu_file_isdirectory(path) == 0;
}

bool qu_path_readable(const char* path) {
  return access(path, R_OK) == 0;
}

int qu_test_open_file(int count) {
  constexpr int largest_count = 512;
  if (count > largest_count) return 0;
  std::vector<file_stream> streams;
  for (int i = 0; i < count; i++) {
    file_stream stream(std::fopen(handle_test_path, "re"));
    if (!stream) {
      if (too_many_files()) return 0;
      const char* reason = qu_strerror(1);
      qu_message("WARNING: A FATAL ERROR OCCURED WHEN OPENING A FILE");
      qu_message("IN THE VELMAR FILE SYSTEM... FILE NAME:");
      qu_message("%s", handle_test_path);
      qu_message("SYSTEM ERROR MESSAGE:\n%s", reason);
      qu_fatal("FATAL ERROR in qu_test_open_file");
    }
    streams.push_back(std::move(stream));
  }
  return 1;
}

void qu_report_too_many_files(const char* failed, const char* before) {
  qu_message("%sWARNING: TOO MANY FILES OPEN SIMULTANEOUSLY:\n", before);
  qu_message("         %s...\n\n", failed);
}

int qu_file_rename(const char* directory, const char* old_name, const char* new_name) {
  std::string prefix = std::string(directory) + path_separator;
  std::string old_path = prefix + old_name;
  if (!qu_path_readable(old_path.c_str())) return 0;
  return std::rename(old_path.c_str(), (prefix + new_name).c_str()) == 0 ? 1 : 0;
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
