// Directories: listing, making, and deleting trees.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qrd {

int qu_file_isdirectory(const char* path);
// The parent of a path; source and destination may be the same text. REQUIRES: room for the path and 2.
char* qu_file_dirname(const char* path, char* destination);
// 0 created, 1 already there, 2 failed.
int qu_file_mkdir(const char* path, bool with_parents);

// Deletes a folder with all it holds, or what it holds. Symbolic links are removed, never followed. What
// forbids it is found before anything goes; what goes wrong is told with its path. Within three seconds.
enum class tree_removal {
  done,
  untouched,
  begun  // some of it is gone
};
// An entry of the directory with the name `last` goes when all others have gone.
tree_removal qu_tree_remove(const char* directory, bool remove_itself, std::string_view last = {});
// False if something forbids that a folder is deleted with all it holds, which is told.
bool qu_tree_removable(const char* directory);
// 1 if done.
int qu_file_delete_tree(const char* directory, bool remove_itself);

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

// Fatal: a catalogue entry whose name holds lower-case letters. May end the process, as may all that call it.
[[noreturn]] void qu_lower_case_directory(const char* path, const char* name);

}  // namespace qrd
