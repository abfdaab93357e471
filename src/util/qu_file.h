// Every access to the file system: opening with checks, lines, listings, deleting and copying trees,
// and the undoing of compression. Reports go to the console; nothing here reaches a client.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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
// them. The _f form ends the process on failure, the _n form gives null, and errno tells why.
std::FILE* qu_file_open_f(const char* path, file_mode mode);
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

// The file that qu_test_open_file opens; set when a root is opened.
extern path_text handle_test_path;
// 1 if `count` (at most 512) more files can be open at once.
int qu_test_open_file(int count);
// The report that they can't: `failed` says in capitals what fails by that, `before` stands in front.
void qu_report_too_many_files(const char* failed, const char* before = "");

// The next line in a shared buffer, or null at the end. The _r form works on the caller's buffer,
// which starts as null and 0, grows by 1000 bytes, and is released when null is returned.
char* qu_file_next_line(std::FILE* stream, bool keep_line_end);
char* qu_file_next_line_r(std::FILE* stream, bool keep_line_end, char** buffer, std::int64_t* size);

int qu_file_isdirectory(const char* path);
// The parent of a path; source and destination may be the same text. REQUIRES: room for the path and 2.
char* qu_file_dirname(const char* path, char* destination);
// 0 created, 1 already there, 2 failed.
int qu_file_mkdir(const char* path, bool with_parents);
// The target is put in place whole. 1, or 0 after a report, and errno tells why: a source that can't be read
// ends nothing.
int qu_file_copy(const char* source, const char* target);
int qu_file_concat(const char* source, const char* target);
// Deletes a folder with all it holds, or what it holds. Symbolic links are removed, never followed. What
// forbids it is found before anything goes; what goes wrong is told with its path. Within three seconds.
enum class tree_removal {
  done,
  untouched,
  begun  // some of it is gone
};
//
// An entry of the directory with the name `last` goes when all others have gone.
tree_removal qu_tree_remove(const char* directory, bool remove_itself, std::string_view last = {});
// False if something forbids that a folder is deleted with all it holds, which is told.
bool qu_tree_removable(const char* directory);
// 1 if done.
int qu_file_delete_tree(const char* directory, bool remove_itself);
// The target appears whole, in place of what stood there. Symbolic links, and with a report what may not be
// copied, are passed over. 0 if done; else errno tells why, and the target is as it was.
int qu_dir_copy(const char* source, const char* target);

// All names of a directory, "." and ".." included, read at once.
struct qu_dir {
  std::int64_t given = 0;
  std::vector<std::string> names;
};
qu_dir* qu_dir_open(const char* path);
// The next name, or null; valid until the close.
const char* qu_dir_read(qu_dir* directory);
void qu_dir_close(qu_dir* directory);

// Owns a qu_dir.
class directory_listing {
 public:
  explicit directory_listing(const char* path) : directory_(qu_dir_open(path)) {}
  directory_listing(const directory_listing&) = delete;
  directory_listing& operator=(const directory_listing&) = delete;
  ~directory_listing() {
    if (directory_ != nullptr) qu_dir_close(directory_);
  }
  explicit operator bool() const { return directory_ != nullptr; }
  const char* next() const { return qu_dir_read(directory_); }

 private:
  qu_dir* directory_;
};

std::int64_t qu_file_tell(std::FILE* stream);
// Origin 0 is the start, 1 the current position, 2 the end. 0 if done.
int qu_file_seek(std::FILE* stream, std::int64_t offset, int origin);

// A data file P may lie on disk as P.gz or P.Z. Where both forms are there the plain one counts, unless it is
// shorter than what the archive holds: the beginning that another program has left. The form that doesn't
// count is set aside.
// Puts the plain file back: 0 failed, 1 done, 5 after a failed write. The archive goes when the plain file is
// whole and on disk; after a failure it is still there. What could be decoded of damaged LZW data becomes the
// plain file, and the archive is set aside.
int qu_file_uncompress(const char* path);
// Before a data file is opened: true if there is no compressed form of it, any more.
bool qu_file_restore(const char* path);
// The length that a data file has when it is restored, and the part of it that must be expanded for that.
// False if its compressed form can't be read.
bool qu_file_measure(const char* path, std::int64_t& length, std::int64_t& to_expand);

// Fatal: a catalogue entry whose name holds lower-case letters.
[[noreturn]] void qu_lower_case_directory(const char* path, const char* name);

}  // namespace qrd
