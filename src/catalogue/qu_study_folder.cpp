#include "catalogue/qu_study_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/qd_placement.h"
#include "catalogue/qu_study.h"
#include "disk/qu_study_names.h"
#include "disk/store_state.h"
#include "util/qu_directory.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_leftovers.h"
#include "util/qu_memory.h"
#include "util/qu_rename.h"
#include "util/qu_working_name.h"

namespace qrd {

namespace {

constexpr char mark_name[] = "UNREGISTERED";
constexpr std::string_view mark_text = "Not in the registry: ";

std::string path_of_mark(const std::string& folder) {
  return folder + path_separator + mark_name;
}

std::string last_element(const std::string& path) {
  return path.substr(qu_folder_of(path).size());
}

bool set_mark(const std::string& folder, const std::string& place) {
  const std::string text = std::string(mark_text) + last_element(place);
  replaced_file file(path_of_mark(folder).c_str(), write_text);
  return file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() && file.commit();
}

// The last element of the path of the study that a folder is marked for, or an empty text.
std::string marked_for(const std::string& folder) {
  const std::string mark = path_of_mark(folder);
  struct stat status;
  if (lstat(mark.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return "";
  char start[mark_text.size() + path_size];
  const std::int64_t count = qu_file_read_start(mark.c_str(), start, sizeof start);
  if (count < 0 || count != status.st_size) return "";
  const std::string text(start, static_cast<std::size_t>(count));
  if (!text.starts_with(mark_text)) return "";
  const std::string element = text.substr(mark_text.size());
  return std::strlen(element.c_str()) == element.size() && qu_is_path_element(element.c_str()) ? element : "";
}

bool is_folder(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The lock of a marked folder at which nobody is at work.
std::optional<folder_lock> lock_of_left(const std::string& path) {
  if (!is_folder(path) || marked_for(path).empty()) return std::nullopt;
  std::optional<folder_lock> lock(std::in_place, path.c_str(), lock_kind::exclusive,
                                  std::chrono::milliseconds(0));
  // Before the lock its maker may still have been at work.
  if (!*lock || !lock->is_real() || !is_folder(path) || marked_for(path).empty()) return std::nullopt;
  return lock;
}

bool has_no_directories(const std::string& study) {
  directory_listing catalogue((study + path_separator + catalogue_folder).c_str());
  if (!catalogue) return false;
  const std::set<std::string> of_an_empty_one = {".", "..", "DESCR"};
  while (const char* name = catalogue.next())
    if (!of_an_empty_one.contains(name)) return false;
  return true;
}

// A folder whose maker died before it could mark it: nothing is in it but the mark in the making. Whoever has
// made one at this moment, and not locked it yet, takes another name.
void remove_unmarked(const std::string& path) {
  if (!is_folder(path)) return;
  const folder_lock lock(path.c_str(), lock_kind::exclusive, std::chrono::milliseconds(0));
  if (!lock || !lock.is_real()) return;
  directory_listing listing(path.c_str());
  if (!listing) return;
  std::vector<std::string> left;
  while (const char* name = listing.next()) {
    if (qu_is_working_name(name))
      left.emplace_back(name);
    else if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
      return;
  }
  qu_remove_leftovers(path, left);
  rmdir(path.c_str());
}

bool is_missing(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

// False if the registry holds a study at this place and can't lose it.
bool unregister_missing(const std::string& place, string_list& names, string_list& paths) {
  string_list other_names, other_paths;
  for (std::int64_t i = 0; i < names.count(); ++i) {
    root_text folder;
    qu_study_folder(paths[i], folder);
    if (folder == place) continue;
    other_names.add(names[i], name_size);
    other_paths.add(paths[i], root_size);
  }
  if (other_names.count() == names.count()) return true;
  if (!is_missing(place)) return true;
  if (!qu_study_names_write(other_names, other_paths)) return false;
  names = std::move(other_names);
  paths = std::move(other_paths);
  return true;
}

}  // namespace

study_in_the_making::study_in_the_making(const char* place) : place_(place) {
  const std::string parent = qu_folder_of(place_);
  const auto make = [&](const std::string& name) {
    working_path_ = parent + name;
    return qu_make_locked_folder(working_path_, lock_);
  };
  if (qu_with_working_name(qu_working_folder_name, being_made, make).empty()) return;
  path_ = working_path_;
  if (set_mark(path_, place_)) return;
  rmdir(path_.c_str());
  lock_.reset();
}

study_in_the_making::~study_in_the_making() {
  if (!lock_) return;
  // Whole as it is, and marked, it stays where it can't be taken back from: the next creation takes it over.
  if (path_ != working_path_ && qu_take_name(path_, working_path_) != 0) return;
  qu_tidy([this] { qu_tree_remove(working_path_.c_str(), true, mark_name); });
}

bool study_in_the_making::place() {
  if (!qu_sync_tree(path_)) return false;
  pause_.reset();
  if (qu_take_name(path_, place_) != 0) return false;
  path_ = place_;
  return qu_sync_folder(qu_folder_of(place_));
}

void study_in_the_making::keep() {
  qu_study_unmark(path_.c_str());
  lock_.reset();
}

study_taking qu_study_take_over(const char* path, const std::function<bool()>& enter) {
  const std::optional<folder_lock> lock = lock_of_left(path);
  if (!lock || marked_for(path) != last_element(path) || !has_no_directories(path))
    return study_taking::nothing_left;
  if (!enter()) return study_taking::failed;
  qu_study_unmark(path);
  return study_taking::done;
}

bool qu_study_remove(const char* path, const std::function<bool()>& unregister) {
  {
    removed_folder study(path, [&] {
      // Behind a link lies what belongs to somebody else. Without the mark only a left-over stays unknown.
      if (is_folder(path)) set_mark(path, path);
    });
    const bool can_go =
        study.is_out() && (study.now() != removed_folder::state::taken || qu_tree_removable(study.path()));
    if (can_go && unregister()) {
      study.discard(mark_name);
      return true;
    }
  }
  qu_study_unmark(path);
  return false;
}

void qu_study_tidy_beside(const char* path, string_list& names, string_list& paths) {
  const std::string parent = qu_folder_of(path);
  directory_listing listing(parent.c_str());
  if (!listing) return;
  while (const char* name = listing.next()) {
    if (!qu_is_working_name(name)) continue;
    const std::string left = parent + name;
    const std::optional<folder_lock> lock = lock_of_left(left);
    if (!lock && name[0] == being_made) remove_unmarked(left);
    if (!lock) continue;
    if (name[0] == being_deleted && !unregister_missing(parent + marked_for(left), names, paths)) continue;
    qu_tree_remove(left.c_str(), true, mark_name);
  }
}

void qu_study_unmark(const char* path) try {
  if (!marked_for(path).empty()) unlink(path_of_mark(path).c_str());
} catch (const std::bad_alloc&) {
  // What it stands behind is done.
}

}  // namespace qrd
