// Directories: listing, making, deleting and copying trees.
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
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

// A removal that fails is tried again: another process may just be reading there. What is already
// gone counts as removed.
bool remove_patiently(int parent, const char* name, int flags) {
  constexpr int attempts = 5;
  constexpr int pause_ms = 1000;
  for (int attempt = 1;; attempt++) {
    if (unlinkat(parent, name, flags) == 0 || errno == ENOENT) return true;
    if (flags == 0 && errno == EISDIR) return false;
    if (attempt == attempts) return false;
    poll(nullptr, 0, pause_ms);
  }
}

bool empty_directory(int directory, const std::string& path);

// Removes one entry of a directory with all below it. Nothing is reached through a symbolic link.
bool remove_entry(int parent, const std::string& name, const std::string& path) {
  if (remove_patiently(parent, name.c_str(), 0)) return true;
  if (errno != EISDIR) {
    qu_message("Unable to delete file \"%s\"", path.c_str());
    return false;
  }
  // Another process may have been making a file in it when it was listed.
  constexpr int attempts = 5;
  for (int attempt = 0; attempt < attempts; attempt++) {
    int directory = openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (directory < 0) {
      if (errno == ENOENT) return true;
      qu_message("Unable to delete file \"%s\"", path.c_str());
      return false;
    }
    if (!empty_directory(directory, path)) return false;
    if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) return true;
    if (errno != ENOTEMPTY && errno != EEXIST) break;
  }
  if (remove_patiently(parent, name.c_str(), AT_REMOVEDIR)) return true;
  qu_message("Unable to delete directory \"%s\"", path.c_str());
  return false;
}

// Takes over the open directory.
bool empty_directory(int directory, const std::string& path) {
  listing_owner listing(fdopendir(directory));
  if (listing == nullptr) {
    close(directory);
    return false;
  }
  std::optional<std::vector<std::string>> names = read_names(listing.get());
  if (!names) return errno == ENOENT;  // another process has removed the directory itself
  return std::all_of(names->begin(), names->end(), [&](const std::string& name) {
    return is_dot_name(name) || remove_entry(directory, name, join(path.c_str(), name));
  });
}

// Makes room for the target of a copy.
void remove_target(const char* target) {
  struct stat status;
  if (lstat(target, &status) != 0) return;
  if (S_ISDIR(status.st_mode)) {
    if (qu_file_delete_tree(target, true) == 0) qu_fatal("Cannot delete directory:\n%s", target);
  } else if (unlink(target) != 0) {
    qu_fatal("Cannot delete file:\n%s", target);
  }
}

}  // namespace

qu_dir* qu_dir_open(const char* path) {
  listing_owner listing(opendir(path == nullptr || *path == '\0' ? "." : path));
  if (listing == nullptr) return nullptr;
  std::optional<std::vector<std::string>> names = read_names(listing.get());
  if (!names) return nullptr;
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

int qu_file_delete_tree(const char* directory, bool remove_itself) {
  std::string path(directory);
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  if (remove_itself) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0 || !(S_ISDIR(status.st_mode) || S_ISLNK(status.st_mode))) return 0;
    return remove_entry(AT_FDCWD, path, path) ? 1 : 0;
  }
  int opened = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (opened < 0) return 0;
  return empty_directory(opened, path) ? 1 : 0;
}

int qu_dir_copy(const char* source, const char* target) {
  if (std::strcmp(source, target) == 0) {
    qu_message("Copy directory error: source and target are identical");
    return 1;
  }
  directory_listing listing(source);
  if (!listing) {
    const char* reason = qu_strerror(1);
    qu_message("WARNING: CANNOT OPEN DIRECTORY");
    qu_message("%s", source);
    qu_message("\nSYSTEM ERROR MESSAGE:\n");
    qu_message("%s", reason);
    return 1;
  }
  remove_target(target);
  if (qu_file_mkdir(target, false) != 0) qu_fatal("Cannot create directory");

  while (const char* name = listing.next()) {
    if (is_dot_name(name)) continue;
    std::string from = join(source, name);
    std::string to = join(target, name);
    struct stat status;
    if (lstat(from.c_str(), &status) != 0) continue;
    // Links, pipes and devices are passed over: what they lead to is not part of the tree.
    if (S_ISDIR(status.st_mode))
      qu_dir_copy(from.c_str(), to.c_str());
    else if (S_ISREG(status.st_mode))
      qu_file_copy(from.c_str(), to.c_str());
  }
  return 0;
}

void qu_lower_case_directory(const char* path, const char* name) {
  qu_fatal(
      "A directory name containing lower case character(s) has been found !\n(\"%s\" in \"%s\").\n"
      "You should rename it to an upper case only name",
      name, path);
}

}  // namespace qrd
