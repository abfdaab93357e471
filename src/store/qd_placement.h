// How objects of the catalogue appear and disappear as a whole, with several servers at work in one tree.
//
// An object is made with all its files in a folder whose name no look-up matches, and takes its number
// by one rename that never replaces anything. A deletion renames the object to such a name first. The
// names are "NEW_<process>_<machine>_<n>" and "OLD_<process>_<machine>_<n>"; without a point in them they
// can hold none of "DIRE.", "FILE." and "VARI.".
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "util/qu_constants.h"

namespace qrd {

// What numbered folders of a level begin with, and the largest number they may have.
struct numbering {
  const char* prefix;
  std::int64_t maximum;
};
inline constexpr numbering directory_numbering{"DIRE.", 2147483646};
inline constexpr numbering file_numbering{"FILE.", 2147483647};
inline constexpr numbering variable_numbering{"VARI.", 2147483647};

enum class placement {
  placed,
  numbers_used_up,
  failed  // errno tells why
};

// A folder in the making. What has not been placed is removed at the end.
class prepared_object {
 public:
  // Makes the folder below `parent`, and removes there what dead processes of this machine have left.
  explicit prepared_object(const char* parent);
  prepared_object(const prepared_object&) = delete;
  prepared_object& operator=(const prepared_object&) = delete;
  ~prepared_object();

  // False if the folder could not be made.
  explicit operator bool() const { return !name_.empty(); }
  const char* path() const { return path_; }
  // Gives the folder the lowest free number.
  placement place(const numbering& level);

 private:
  std::string parent_;
  std::string name_;
  path_text path_ = "";
  std::vector<std::string> siblings_;
};

// Renames a folder without replacing anything. 0, or -1 and errno (EEXIST: the name is taken).
int qd_take_name(const char* from, const char* to);
// The same by creating the name first: the way for file systems that don't know such a rename.
int qd_take_name_by_creation(const char* from, const char* to);

// Takes a folder out of the catalogue and deletes it with all it holds. What another process has already
// taken away is a success: also where another object has taken its number since, which `is_meant` tells by
// the files of the folder and which gets its place back. 1, or 0 when it could not be renamed (nothing has
// changed then) or not all could be deleted (it is out of the catalogue then).
int qd_remove_folder(const char* path, const std::function<bool(const char* folder)>& is_meant);

}  // namespace qrd
