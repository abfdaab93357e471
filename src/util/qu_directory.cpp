#include "util/qu_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>

#include "util/qu_file.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

bool is_separator(char c) {
  return c == '/' || c == '\\';
}

bool is_dot_name(const std::string& name) {
  return name == "." || name == "..";
}

std::string join(const char* directory, const std::string& name) {
  return std::string(directory) + path_separator + name;
}

struct close_listing {
  void operator()(DIR* listing) const { closedir(listing); }
};
using listing_owner = std::unique_ptr<DIR, close_listing>;

// All names of an open listing, or nothing after a failure.
std::optional<std::vector<std::string>> read_names(DIR* listing) {
  std::vector<std::string> names;
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(listing);
    if (entry == nullptr) break;
    names.emplace_back(entry->d_name);
  }
  if (errno != 0) return std::nullopt;
  return names;
}

constexpr auto directory_flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

void report_undeleted(const char* kind, const std::string& path, int reason) {
  errno = reason;
  const char* text = qu_strerror(1);
  qu_message("Unable to delete %s \"%s\": %s", kind, path.c_str(), text);
}

// What a network file system keeps of a file that somebody has open; it goes by itself.
bool is_kept_for_another(const std::string& name) {
  return name.starts_with(".nfs") || name.starts_with(".fuse_hidden");
}

// Whether nothing forbids what has to be done; asked of everything before the first file goes, since what has
// been deleted can't be put back. Tells what forbids it.
bool can_delete_entry(int parent, const struct stat& parent_status, const std::string& name,
                      const std::string& path);

bool can_empty(int directory, const std::string& path) {
  struct stat status;
  if (fstat(directory, &status) != 0 || faccessat(directory, ".", R_OK | W_OK | X_OK, AT_EACCESS) != 0) {
    if (errno == ENOENT) return true;
    report_undeleted("directory", path, errno);
    return false;
  }
  const int listed = openat(directory, ".", directory_flags);
  listing_owner listing(listed < 0 ? nullptr : fdopendir(listed));
  if (listing == nullptr) {
    if (listed >= 0) close(listed);
    report_undeleted("directory", path, errno);
    return false;
  }
  std::optional<std::vector<std::string>> names = read_names(listing.get());
  if (!names) return errno == ENOENT;
  return std::all_of(names->begin(), names->end(), [&](const std::string& name) {
    return is_dot_name(name) || can_delete_entry(directory, status, name, join(path.c_str(), name));
  });
}

bool can_delete_entry(int parent, const struct stat& parent_status, const std::string& name,
                      const std::string& path) {
  struct statx entry;
  if (statx(parent, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_UID, &entry) != 0)
    return errno == ENOENT;
  const bool is_directory = S_ISDIR(entry.stx_mode);
  constexpr std::uint64_t fixed = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND | STATX_ATTR_MOUNT_ROOT;
  const uid_t user = geteuid();
  const bool is_others = (parent_status.st_mode & S_ISVTX) != 0 && user != 0 &&
                         user != parent_status.st_uid && user != entry.stx_uid;
  if (is_others || (entry.stx_attributes & fixed) != 0) {
    report_undeleted(is_directory ? "directory" : "file", path, EPERM);
    return false;
  }
  if (!is_directory) return true;
  const int directory = openat(parent, name.c_str(), directory_flags);
  if (directory < 0) {
    if (errno == ENOENT) return true;
    report_undeleted("directory", path, errno);
    return false;
  }
  const bool can = can_empty(directory, path);
  close(directory);
  return can;
}

// Deletes a tree. What is already gone counts as removed. Where another process is just reading or making a
// file it tries again, for two seconds altogether.
class tree_deletion {
 public:
  explicit tree_deletion(std::string_view last) : last_(last) {}

  // True once something has been deleted.
  bool begun() const { return begun_; }

  // One entry of a directory with all below it. Nothing is reached through a symbolic link.
  bool remove(int parent, const std::string& name, const std::string& path) {
    if (unlink_patiently(parent, name, 0)) return true;
    if (errno != EISDIR) {
      report_undeleted("file", path, errno);
      return false;
    }
    do {
      const int directory = openat(parent, name.c_str(), directory_flags);
      if (directory < 0) {
        if (errno == ENOENT) return true;
        report_undeleted("directory", path, errno);
        return false;
      }
      if (!empty(directory, path)) return false;
      if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) return begun_ = true;
      if (errno == ENOENT) return true;
      if (is_only_kept(parent, name)) return true;
    } while ((errno == ENOTEMPTY || errno == EEXIST || errno == EBUSY) && may_wait());
    report_undeleted("directory", path, errno);
    return false;
  }

  // All entries. Takes over the open directory.
  bool empty(int directory, const std::string& path) {
    listing_owner listing(fdopendir(directory));
    if (listing == nullptr) {
      close(directory);
      return false;
    }
    std::optional<std::vector<std::string>> names = read_names(listing.get());
    if (!names) return errno == ENOENT;  // another process has removed the directory itself
    if (!last_.empty())
      std::stable_partition(names->begin(), names->end(),
                            [&](const std::string& name) { return name != last_; });
    return std::all_of(names->begin(), names->end(), [&](const std::string& name) {
      return is_dot_name(name) || is_kept_for_another(name) ||
             remove(directory, name, join(path.c_str(), name));
    });
  }

 private:
  bool may_wait() {
    constexpr int attempts = 20;
    constexpr int pause_ms = 100;
    const int reason = errno;
    if (++waits_ > attempts) return false;
    poll(nullptr, 0, pause_ms);
    errno = reason;
    return true;
  }

  bool unlink_patiently(int parent, const std::string& name, int flags) {
    do {
      if (unlinkat(parent, name.c_str(), flags) == 0) return begun_ = true;
      if (errno == ENOENT) return true;
    } while ((errno == EBUSY || errno == ETXTBSY) && may_wait());
    return false;
  }

  // Keeps errno.
  static bool is_only_kept(int parent, const std::string& name) {
    const int reason = errno;
    const int directory = openat(parent, name.c_str(), directory_flags);
    listing_owner listing(directory < 0 ? nullptr : fdopendir(directory));
    if (listing == nullptr && directory >= 0) close(directory);
    std::optional<std::vector<std::string>> names;
    if (listing != nullptr) names = read_names(listing.get());
    errno = reason;
    return names && names->size() > 2 &&
           std::all_of(names->begin(), names->end(), [](const std::string& each) {
             return is_dot_name(each) || is_kept_for_another(each);
           });
  }

  std::string_view last_;  // at any depth: such a name stands nowhere else
  bool begun_ = false;
  int waits_ = 0;
};

std::string without_end_separators(const char* directory) {
  std::string path(directory);
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

bool can_remove_whole(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  struct stat status, parent_status;
  return lstat(path.c_str(), &status) == 0 && (S_ISDIR(status.st_mode) || S_ISLNK(status.st_mode)) &&
         stat(parent.empty() ? "." : parent.c_str(), &parent_status) == 0 &&
         can_delete_entry(AT_FDCWD, parent_status, path, path);
}

bool remove_whole(tree_deletion& deletion, const char* directory) {
  const std::string path = without_end_separators(directory);
  return can_remove_whole(path) && deletion.remove(AT_FDCWD, path, path);
}

bool remove_content(tree_deletion& deletion, const char* directory) {
  const std::string path = without_end_separators(directory);
  const int opened = open(path.c_str(), directory_flags);
  if (opened < 0) return false;
  if (can_empty(opened, path)) return deletion.empty(opened, path);
  close(opened);
  return false;
}

// A folder that is not there is nothing to tell of; errno stays.
qu_dir* tell_unlisted(const char* path) {
  const int reason = errno;
  if (!qu_is_gone(reason)) {
    const char* text = qu_strerror(1);
    qu_message("Unable to list directory \"%s\": %s", path, text);
  }
  errno = reason;
  return nullptr;
}

}  // namespace

qu_dir* qu_dir_open(const char* path) {
  if (path == nullptr || *path == '\0') path = ".";
  listing_owner listing(opendir(path));
  if (listing == nullptr) return tell_unlisted(path);
  std::optional<std::vector<std::string>> names = read_names(listing.get());
  if (!names) return tell_unlisted(path);
  return new qu_dir{0, std::move(*names)};
}

const char* qu_dir_read(qu_dir* directory) {
  if (directory->given >= static_cast<std::int64_t>(directory->names.size())) return nullptr;
  return directory->names[static_cast<std::size_t>(directory->given++)].c_str();
}

void qu_dir_close(qu_dir* directory) {
  delete directory;
}

int qu_file_isdirectory(const char* path) {
  struct stat status;
  if (stat(path, &status) == 0) return S_ISDIR(status.st_mode) ? 1 : 0;
  std::string shortened = path;
  if (shortened.empty() || !is_separator(shortened.back())) return 0;
  while (!shortened.empty() && is_separator(shortened.back())) shortened.pop_back();
  return stat(shortened.c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
}

char* qu_file_dirname(const char* path, char* destination) {
  std::size_t length = std::strlen(path);
  if (destination != path) std::memmove(destination, path, length + 1);
  if (length > 0 && is_separator(destination[length - 1])) length--;
  while (length > 0 && !is_separator(destination[length - 1])) length--;
  // Now behind the last separator, or at the start.
  if (length > 1) {
    destination[length - 1] = '\0';
  } else {
    if (!is_separator(destination[0])) destination[0] = '.';
    destination[1] = '\0';
  }
  return destination;
}

int qu_file_mkdir(const char* path, bool with_parents) {
  if (with_parents) {
    std::string parent(path);
    parent.resize(parent.size() + 2);
    qu_file_dirname(path, parent.data());
    parent.resize(std::strlen(parent.c_str()));
    if (parent != path && qu_file_isdirectory(parent.c_str()) == 0) {
      if (qu_path_readable(parent.c_str())) {
        qu_message("%s already exists and is not a directory", parent.c_str());
        return 2;
      }
      if (qu_file_mkdir(parent.c_str(), true) == 2) return 2;
    }
  }
  if (mkdir(path, 0777) == 0) return 0;
  if (errno == EEXIST) return 1;
  const char* reason = qu_strerror(1);
  qu_message("WARNING: AN ERROR OCCURED WHEN CREATING A DIRECTORY");
  qu_message("IN THE VELMAR FILE SYSTEM... DIRECTORY NAME:");
  qu_message("%s", path);
  qu_message("\nSYSTEM ERROR MESSAGE: ");
  qu_message("%s", reason);
  qu_message("\nCHECK DISK SPACE AND DISK QUOTAS");
  return 2;
}

bool qu_tree_removable(const char* directory) {
  return can_remove_whole(without_end_separators(directory));
}

tree_removal qu_tree_remove(const char* directory, bool remove_itself, std::string_view last) {
  tree_deletion deletion(last);
  bool done = false;
  try {
    done = remove_itself ? remove_whole(deletion, directory) : remove_content(deletion, directory);
  } catch (const std::bad_alloc&) {
    // What has been deleted stays deleted: the caller must know.
    errno = ENOMEM;
  }
  return done ? tree_removal::done : deletion.begun() ? tree_removal::begun : tree_removal::untouched;
}

int qu_file_delete_tree(const char* directory, bool remove_itself) {
  return qu_tree_remove(directory, remove_itself) == tree_removal::done ? 1 : 0;
}

void qu_lower_case_directory(const char* path, const char* name) {
  qu_fatal(
      "A directory name containing lower case character(s) has been found !\n(\"%s\" in \"%s\").\n"
      "You should rename it to an upper case only name",
      name, path);
}

}  // namespace qrd
