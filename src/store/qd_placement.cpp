#include "store/qd_placement.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "util/qu_file.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr char being_made[] = "NEW";
constexpr char being_deleted[] = "OLD";

// The longest of the files that are made inside an object; a path that would be cut names another file.
constexpr std::string_view longest_inner_path = "/VARI.7/DATAVAR";

// Stands for the host name and the process number space, since a process number means nothing outside
// its own (FNV-1a, 32 bits: paths are short of room).
std::uint32_t machine_number() {
  static const std::uint32_t number = [] {
    char host[256] = "";
    gethostname(host, sizeof host - 1);
    std::error_code ignored;
    std::string text =
        std::string(host) + "/" + std::filesystem::read_symlink("/proc/self/ns/pid", ignored).string();
    std::uint32_t hash = 2166136261U;
    for (char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    return hash;
  }();
  return number;
}

std::string working_name(const char* purpose, int attempt) {
  char name[64];
  std::snprintf(name, sizeof name, "%s_%d_%08X_%d", purpose, static_cast<int>(getpid()), machine_number(),
                attempt);
  return name;
}

// The process that a working name of this machine belongs to.
std::optional<pid_t> owner_of(const std::string& name) {
  char purpose[4];
  int process = 0;
  unsigned machine = 0;
  int attempt = 0;
  int end = 0;
  if (std::sscanf(name.c_str(), "%3[A-Z]_%d_%8X_%d%n", purpose, &process, &machine, &attempt, &end) != 4)
    return std::nullopt;
  if (static_cast<std::size_t>(end) != name.size() || process <= 0 || machine != machine_number())
    return std::nullopt;
  if (std::strcmp(purpose, being_made) != 0 && std::strcmp(purpose, being_deleted) != 0) return std::nullopt;
  return process;
}

bool is_left_behind(const std::string& name) {
  std::optional<pid_t> owner = owner_of(name);
  if (!owner) return false;
  // At the start of a creation nothing with this process's own number is in use either.
  return *owner == getpid() || (kill(*owner, 0) != 0 && errno == ESRCH);
}

// The lowest number that no listed name has. Numbers are written without leading zeros.
std::int64_t lowest_free_number(const std::vector<std::string>& siblings, std::string_view prefix) {
  std::vector<std::int64_t> numbers;
  for (const std::string& name : siblings) {
    if (!name.starts_with(prefix)) continue;
    std::int64_t number = 0;
    const char* end = name.data() + name.size();
    auto [stop, error] = std::from_chars(name.data() + prefix.size(), end, number);
    if (error == std::errc() && stop == end && name[prefix.size()] != '0') numbers.push_back(number);
  }
  std::sort(numbers.begin(), numbers.end());
  std::int64_t lowest = 1;
  for (std::int64_t number : numbers)
    if (number == lowest) lowest++;
  return lowest;
}

bool is_taken() {
  return errno == EEXIST || errno == ENOTEMPTY;
}

// Another server may have taken away the parent with all it holds.
bool is_gone(const std::string& path) {
  return access(path.c_str(), F_OK) != 0 && errno == ENOENT;
}

// Deletes a folder under its working name. It can be out of reach for a moment, while another server takes
// its parent and puts it back. 1 or 0.
int delete_taken(const std::string& folder) {
  constexpr int attempts = 3;
  for (int attempt = 0; attempt < attempts; attempt++)
    if (qu_file_delete_tree(folder.c_str(), true) != 0 || is_gone(folder)) return 1;
  return 0;
}

// Gives a folder its number back, or the next free one if that has been taken at this very moment. 1 or 0.
int put_back(const std::string& folder, const char* path) {
  const std::string_view place(path);
  const std::size_t digits = place.find_last_not_of("0123456789") + 1;
  std::int64_t number = 0;
  std::from_chars(path + digits, path + place.size(), number);
  const std::string prefix(place.substr(0, digits));
  for (std::string target(place); qd_take_name(folder.c_str(), target.c_str()) != 0;
       target = prefix + std::to_string(++number))
    if (!is_taken()) return errno == ENOENT ? 1 : 0;  // gone with its parent
  return 1;
}

}  // namespace

int qd_take_name(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  return qd_take_name_by_creation(from, to);
}

int qd_take_name_by_creation(const char* from, const char* to) {
  if (mkdir(to, 0777) != 0) return -1;
  // A rename replaces an empty folder in one step.
  if (rename(from, to) == 0) return 0;
  int reason = errno;
  rmdir(to);
  errno = reason == EEXIST ? EIO : reason;
  return -1;
}

prepared_object::prepared_object(const char* parent) : parent_(parent) {
  directory_listing listing(parent);
  if (listing)
    while (const char* name = listing.next()) siblings_.emplace_back(name);
  for (const std::string& name : siblings_) {
    std::error_code ignored;
    if (is_left_behind(name)) std::filesystem::remove_all(std::filesystem::path(parent_) / name, ignored);
  }

  constexpr int attempts = 100;
  for (int attempt = 0; attempt < attempts; attempt++) {
    std::string name = working_name(being_made, attempt);
    std::string path = parent_ + path_separator + name;
    if (path.size() + longest_inner_path.size() >= path_size) return;
    if (mkdir(path.c_str(), 0777) == 0) {
      name_ = name;
      qu_path_join(path_, {path});
      return;
    }
    if (errno != EEXIST) return;
  }
}

prepared_object::~prepared_object() {
  if (!name_.empty()) qu_file_delete_tree(path_, true);
}

placement prepared_object::place(const numbering& level) {
  for (std::int64_t number = lowest_free_number(siblings_, level.prefix); number <= level.maximum; number++) {
    std::string target = parent_ + path_separator + level.prefix + std::to_string(number);
    if (qd_take_name(path_, target.c_str()) == 0) {
      name_.clear();
      qu_path_join(path_, {target});
      return placement::placed;
    }
    if (!is_taken()) return placement::failed;
  }
  return placement::numbers_used_up;
}

int qd_remove_folder(const char* path, const std::function<bool(const char* folder)>& is_meant) {
  path_text parent;
  qu_path_join(parent, {path});
  qu_file_dirname(parent, parent);
  constexpr int attempts = 100;
  for (int attempt = 0; attempt < attempts; attempt++) {
    std::string target = std::string(parent) + path_separator + working_name(being_deleted, attempt);
    if (qd_take_name(path, target.c_str()) == 0) {
      // A path that would be cut can't be looked into.
      bool can_look = target.size() + longest_inner_path.size() < path_size;
      return !can_look || is_meant(target.c_str()) ? delete_taken(target) : put_back(target, path);
    }
    if (errno == ENOENT) return 1;
    if (!is_taken()) return 0;
  }
  return 0;
}

}  // namespace qrd
