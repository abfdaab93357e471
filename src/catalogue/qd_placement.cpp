#include "catalogue/qd_placement.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <system_error>

#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_leftovers.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_rename.h"
#include "util/qu_string.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

// The longest of the files that are made inside an object; a path that would be cut names another file.
constexpr std::string_view longest_inner_path = "/VARI.7/DATAVAR";

bool leaves_room(const std::string& path) {
  return path.size() + longest_inner_path.size() < path_size;
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

// Deletion waits no longer than a client does.
constexpr std::chrono::milliseconds removal_patience = std::chrono::seconds(1);

}  // namespace

prepared_object::prepared_object(const char* parent) : parent_(parent) {
  directory_listing listing(parent);
  if (listing)
    while (const char* name = listing.next()) siblings_.emplace_back(name);
  qu_remove_leftovers(parent_, siblings_);

  const auto make = [this](const std::string& name) {
    const std::string path = parent_ + path_separator + name;
    if (!leaves_room(path)) {
      errno = ENAMETOOLONG;
      return -1;
    }
    return qu_make_locked_folder(path, lock_);
  };
  const std::string name = qu_with_working_name(qu_working_folder_name, being_made, make);
  if (name.empty()) return;
  qu_path_join(path_, {parent_, path_separator, name});
  unseen_.emplace(path_);
}

prepared_object::~prepared_object() {
  if (lock_) qu_tidy([this] { qu_file_delete_tree(path_, true); });
}

placement prepared_object::place(const numbering& level) {
  if (!qu_sync_tree(path_)) return placement::failed;
  pause_.reset();
  unseen_.reset();
  for (std::int64_t number = lowest_free_number(siblings_, level.prefix); number <= level.maximum; number++) {
    std::string target = parent_ + path_separator + level.prefix + std::to_string(number);
    if (!leaves_room(target)) {
      errno = ENAMETOOLONG;
      return placement::failed;
    }
    if (qu_take_name(path_, target) == 0) {
      if (!qu_sync_folder(parent_) && qu_take_name(target, path_) == 0) return placement::failed;
      lock_.reset();
      qu_path_join(path_, {target});
      return placement::placed;
    }
    if (!is_taken()) return placement::failed;
  }
  return placement::numbers_used_up;
}

removed_folder::removed_folder(const char* path, const std::function<void()>& when_locked) : place_(path) {
  // It may be renamed, and another one get its name, until it is locked; whoever holds it is at work in it.
  lock_.emplace(path, lock_kind::exclusive, removal_patience);
  if (!*lock_) {
    state_ = qu_is_gone(errno) ? state::gone : errno == EWOULDBLOCK ? state::in_use : state::refused;
    return;
  }
  if (when_locked) when_locked();
  const std::string parent = qu_folder_of(place_);
  const std::string name =
      qu_with_working_name(qu_working_folder_name, being_deleted, [&](const std::string& candidate) {
        // Known before the rename: behind it nothing may fail.
        target_ = parent + candidate;
        return qu_take_name(place_, target_);
      });
  if (name.empty()) {
    state_ = qu_is_gone(errno) ? state::gone : state::refused;
    return;
  }
  state_ = state::taken;
}

removed_folder::~removed_folder() {
  if (state_ == state::taken) put_back();
}

bool removed_folder::remove() {
  if (state_ != state::taken) return state_ == state::gone || state_ == state::deleted;
  // Whatever needs memory comes before the point of no return.
  const std::string parent = qu_folder_of(place_);
  // It can be out of reach for a moment, while another server takes its parent and puts it back.
  constexpr int attempts = 3;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    switch (qu_tree_remove(target_.c_str(), true)) {
      case tree_removal::done:
      case tree_removal::begun:
        state_ = state::deleted;
        qu_sync_folder(parent);
        return true;
      case tree_removal::untouched:
        break;
    }
    if (lock_->is_at(target_.c_str())) break;
  }
  if (access(target_.c_str(), F_OK) != 0 && qu_is_gone(errno)) {
    state_ = state::deleted;
    return true;
  }
  put_back();
  return false;
}

void removed_folder::discard(std::string_view last) {
  if (state_ != state::taken) return;
  state_ = state::deleted;
  if (qu_tree_remove(target_.c_str(), true, last) != tree_removal::done)
    qu_report_failure("Unable to delete directory", target_.c_str());
}

void removed_folder::put_back() {
  state_ = state::put_back;
  if (qu_take_name(target_, place_) == 0) return;
  try {
    put_elsewhere();
  } catch (const std::bad_alloc&) {
    qu_message("Unable to put back \"%s\", which is now \"%s\": %s", place_.c_str(), target_.c_str(),
               std::strerror(ENOMEM));
  }
}

void removed_folder::put_elsewhere() {
  const std::size_t digits = place_.find_last_not_of("0123456789") + 1;
  std::int64_t number = 0;
  std::from_chars(place_.data() + digits, place_.data() + place_.size(), number);
  const std::string prefix = place_.substr(0, digits);
  for (std::string target = place_; qu_take_name(target_, target) != 0;
       target = prefix + std::to_string(++number)) {
    if (is_taken() && number > 0) continue;
    if (qu_is_gone(errno)) return;  // with its parent
    const char* reason = qu_strerror(1);
    qu_message("Unable to put back \"%s\", which is now \"%s\": %s", place_.c_str(), target_.c_str(), reason);
    return;
  }
}

bool removed_folder::is_out() const {
  switch (state_) {
    case state::gone:
    case state::taken:
    case state::deleted:
      return true;
    case state::in_use:
      qu_message("Unable to delete directory \"%s\": another server is at work in it", place_.c_str());
      return false;
    case state::refused:
    case state::put_back:
      break;
  }
  qu_report_failure("Unable to delete directory", place_.c_str());
  return false;
}

bool qd_remove_folder(const char* path, const std::function<bool(const char* folder)>& is_meant) {
  removed_folder folder(path);
  if (!folder.is_out()) return false;
  if (folder.now() != removed_folder::state::taken) return true;
  // A path that would be cut can't be looked into.
  const bool can_look = leaves_room(folder.path());
  if (can_look && !is_meant(folder.path())) return true;
  return folder.remove();
}

}  // namespace qrd
