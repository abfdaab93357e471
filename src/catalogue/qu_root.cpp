// Where the root is, and whether it can be used.

#include "catalogue/qu_root.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "disk/store_state.h"
#include "util/qu_directory.h"
#include "util/qu_environment.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_hooks.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

constexpr std::size_t plugin_path_size = 1000;
constexpr std::size_t running_test_size = 10;

constexpr char handle_test_name[] = "read_write.def";
constexpr char handle_test_text[] = "Do not delete this file during Velmar Run...";
constexpr char write_locked[] = "Your Velmar file system is write locked...\nCan't create file:\n%s";

// Half of a small memory, all but a share for the system of a large one.
std::uint64_t usable_memory() {
  constexpr std::uint64_t small_memory = 1000000000;
  constexpr std::uint64_t system_share = 500000000;
  auto total =
      static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  return total <= small_memory ? total / 2 : total - system_share;
}

// The folder in which the programs of a user keep their data; empty if there is none.
std::string user_data_folder() {
  const char* data_home = std::getenv("XDG_DATA_HOME");
  if (data_home != nullptr && data_home[0] == '/') return data_home;
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] == '\0') {
    const passwd* entry = getpwuid(getuid());
    home = entry == nullptr ? nullptr : entry->pw_dir;
  }
  if (home == nullptr || home[0] == '\0') return "";
  return std::string(home) + "/.local/share";
}

void find_default_root(root_text& root) {
  std::string folder = user_data_folder();
  std::string vendor_folder = folder + "/Orvane";
  std::string path = vendor_folder + "/Velmar";
  if (folder.empty() || path.size() >= root_size) qu_fatal("Application Data folder cannot be retrieved");
  if (qu_file_isdirectory(vendor_folder.c_str()) == 0 && qu_file_mkdir(vendor_folder.c_str(), true) == 2)
    qu_fatal("Cannot create directory %s", vendor_folder.c_str());
  qu_string_copy(path.c_str(), root);
}

// One folder has one spelling, with or without separators behind it: the registry holds paths that
// are cut at the end of the root. True if there were any.
bool drop_last_separators(root_text& path) {
  const std::size_t given = std::strlen(path);
  std::size_t length = given;
  while (length > 1 && path[length - 1] == '/') path[--length] = '\0';
  return length < given;
}

void find_root(const char* wanted, root_text& root) {
  if (wanted != nullptr)
    qu_string_copy(wanted, root);
  else
    qu_getenv("QRD_INIT", root_size, root);
  if (root[0] == '\0') find_default_root(root);
  store.root_has_end = drop_last_separators(root) ? 1 : 0;

  if (qu_file_isdirectory(root) != 0) return;
  qu_message("Creation of the root directory for the Velmar File System");
  qu_file_mkdir(root, true);
  if (qu_file_isdirectory(root) == 0) qu_fatal("Creation failed for the root directory: %s", root);
}

void check_plugin_path() {
  char members[plugin_path_size];
  qu_getenv("QRD_PLUGIN_PATH", sizeof members, members);
  std::string_view rest = members;
  while (!rest.empty()) {
    std::string member(rest.substr(0, rest.find(';')));
    rest.remove_prefix(std::min(rest.size(), member.size() + 1));
    if (member.size() >= path_size)
      qu_message("QRD_PLUGIN_PATH member too long (%s)", member.c_str());
    else if (!member.empty() && qu_file_isdirectory(member.c_str()) == 0)
      qu_message("QRD_PLUGIN_PATH member: %s directory not found.", member.c_str());
  }
}

bool holds_text(const char* path, std::string_view text) {
  char start[64];
  const std::int64_t count = qu_file_read_start(path, start, sizeof start);
  return count >= 0 && std::string_view(start, static_cast<std::size_t>(count)) == text;
}

void make_handle_test_file() {
  hooks.handle_test_path = store.handle_test_path;
  qu_path_join(store.handle_test_path, {store.root_path, path_separator, handle_test_name});
  if (holds_text(store.handle_test_path, handle_test_text)) return;
  replaced_file file(store.handle_test_path, write_text);
  if (!file || std::fputs(handle_test_text, file.get()) < 0 || !file.commit())
    qu_fatal(write_locked, store.handle_test_path);
}

bool write_whole(int file, std::string_view text) {
  const ssize_t written = write(file, text.data(), text.size());
  return close(file) == 0 && written == static_cast<ssize_t>(text.size());
}

}  // namespace

write_test qu_write_test(const char* folder, const char* text, path_text& path) {
  int file = -1;
  const auto make = [&](const std::string& name) {
    qu_path_join(path, {folder, path_separator, "WRT_TRY_", std::string_view(name).substr(2)});
    constexpr mode_t everybody = 0666;
    file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, everybody);
    return file < 0 ? -1 : 0;
  };
  if (qu_with_working_name(qu_working_file_name, being_made, make).empty())
    return qu_is_gone(errno) ? write_test::folder_gone : write_test::cannot_create;
  const bool written = write_whole(file, text);
  const bool deleted = unlink(path) == 0 || qu_is_gone(errno);
  if (!written) return write_test::cannot_create;
  return deleted ? write_test::passed : write_test::cannot_delete;
}

void qu_init(const char* root, const char* name, const char* version) {
  qu_string_copy(name, store.program_name);
  qu_string_copy(version, store.program_version_text);
  checked_memory.capacity = usable_memory();

  const char* locale_folder = std::getenv("XLOCALEDIR");
  if (locale_folder != nullptr && locale_folder[0] != '\0') qu_putenv("XLOCALEDIR=");

  find_root(root, store.root_path);
  store.root_windows[0] = '\0';
  store.root_unix[0] = '\0';

  check_plugin_path();
  char test_run[running_test_size];
  qu_getenv("QRD_RUNNING_TEST", sizeof test_run, test_run);
  store.running_test = test_run[0] != '\0' && std::strcmp(test_run, "0") != 0 ? 1 : 0;
  qu_string_copy(no_name, store.study_name);
  store.lock_taken = 0;

  path_text path;
  switch (qu_write_test(store.root_path, "", path)) {
    case write_test::passed:
      break;
    case write_test::cannot_create:
    case write_test::folder_gone:
      qu_fatal(write_locked, path);
    case write_test::cannot_delete:
      qu_fatal("Your Velmar File System is not correctly protected...\nImpossible to delete a file:\n%s",
               path);
  }
  make_handle_test_file();
}

}  // namespace qrd
