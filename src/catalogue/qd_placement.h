// How objects of the catalogue appear and disappear as a whole, with several servers at work in one tree.
//
// An object is made with all its files in a folder with a working name (see qu_working_name.h), and takes its
// number by one rename that never replaces anything. A deletion renames the object to such a name first. As
// long as its maker is at work the folder is locked; what is found unlocked is a left-over.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/qu_constants.h"
#include "util/qu_file_replace.h"
#include "util/qu_lock.h"
#include "util/qu_sync.h"

namespace qrd {

// What numbered folders of a level begin with, and the largest number they may have.
struct numbering {
  const char* prefix;
  std::int64_t maximum;
};
inline constexpr numbering directory_numbering{"DIRE.", 2147483646};
inline constexpr numbering file_numbering{"FILE.", 2147483647};
inline constexpr numbering variable_numbering{"VARI.", 2147483647};

enum class [[nodiscard]] placement{
    placed, numbers_used_up,
    failed  // errno tells why
};

// A folder in the making. What has not been placed is removed at the end.
class prepared_object {
 public:
  // Makes the folder below `parent`, and removes there what others have left.
  explicit prepared_object(const char* parent);
  prepared_object(const prepared_object&) = delete;
  prepared_object& operator=(const prepared_object&) = delete;
  ~prepared_object();

  // False if the folder could not be made; errno tells why.
  explicit operator bool() const { return lock_.has_value(); }
  const char* path() const { return path_; }
  // Gives the folder the lowest free number, once all it holds is on disk.
  placement place(const numbering& level);

 private:
  std::string parent_;
  std::optional<folder_lock> lock_;
  path_text path_ = "";
  std::optional<unseen_folder> unseen_;
  std::vector<std::string> siblings_;
  std::optional<sync_pause> pause_{std::in_place};  // until it is waited for as a whole
};

// A folder on its way out: taken from its place by a rename, and put back at the end unless it has been
// deleted.
class removed_folder {
 public:
  enum class state {
    taken,    // it is nowhere in the tree
    gone,     // another one was quicker
    in_use,   // somebody is at work in it
    refused,  // errno tells why
    deleted,
    put_back
  };

  // `when_locked` is called before it leaves its place, where nobody else is at work in it.
  explicit removed_folder(const char* path, const std::function<void()>& when_locked = nullptr);
  removed_folder(const removed_folder&) = delete;
  removed_folder& operator=(const removed_folder&) = delete;
  ~removed_folder();

  state now() const { return state_; }
  // True if it is nowhere in the tree; false after a report that tells the path and why.
  bool is_out() const;
  // Where it stands while it is taken. REQUIRES: state::taken.
  const char* path() const { return target_.c_str(); }
  // Deletes it; where nothing of it can be deleted it is put back. What can't be deleted after the beginning
  // stays out of the tree, and counts as removed: a left-over. True if it is no longer in the tree.
  [[nodiscard]] bool remove();
  // Deletes of it what can be deleted, the entry with the name `last` behind the others, and tells what
  // can't. It is never put back.
  void discard(std::string_view last);
  // Gives it back its place, or the next free number if that has been taken meanwhile.
  void put_back();

 private:
  void put_elsewhere();

  std::string place_;
  std::string target_;
  std::optional<folder_lock> lock_;
  state state_ = state::refused;
};

// Takes an object out of the catalogue and deletes it with all it holds. What another process has already
// taken away is a success: also where another object has taken its number since, which `is_meant` tells by
// the files of the folder and which gets its place back. False after a report when it could not be removed:
// nothing has changed then.
[[nodiscard]] bool qd_remove_folder(const char* path,
                                    const std::function<bool(const char* folder)>& is_meant);

}  // namespace qrd
