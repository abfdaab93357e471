// Folders of studies on their way into the registry and out of it.
//
// A folder that the registry does not hold yet, or is about to lose, carries a mark, the file UNREGISTERED,
// which tells the last element of the study's path. Whoever is at work at such a folder holds its lock. So
// what is marked and unlocked was left by a server that died: in its place a study that only has to be
// registered, under a working name a left-over. In a registered study a mark says nothing; the next opening
// takes it off.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "util/qu_constants.h"
#include "util/qu_list.h"
#include "util/qu_lock.h"
#include "util/qu_sync.h"

namespace qrd {

// A study that is made, marked, under a working name beside its place: no other server opens half of it. What
// is not kept goes again.
class study_in_the_making {
 public:
  explicit study_in_the_making(const char* place);
  study_in_the_making(const study_in_the_making&) = delete;
  study_in_the_making& operator=(const study_in_the_making&) = delete;
  ~study_in_the_making();

  explicit operator bool() const { return lock_.has_value(); }
  const char* path() const { return path_.c_str(); }
  // False with errno set: EEXIST if there is something of that name.
  [[nodiscard]] bool place();
  // Takes off the mark, too.
  void keep();

 private:
  std::string place_;
  std::string working_path_;
  std::string path_;  // one of the two
  std::optional<folder_lock> lock_;
  std::optional<sync_pause> pause_{std::in_place};  // until it is waited for as a whole
};

// Registers by `enter` the study that a dead server has left marked in its place.
// REQUIRES: the registry does not hold the folder.
enum class [[nodiscard]] study_taking{
    done,
    nothing_left,  // not marked for this place, somebody is at work at it or can be, or it has got a
                   // directory
    failed         // it could not be registered, and stays as it was
};
study_taking qu_study_take_over(const char* path, const std::function<bool()>& enter);

// Takes a study away: out of its place, out of the registry by `unregister`, and deletes it then. False after
// a report if it stays, and nothing has changed. What can't be deleted at the end is only told.
[[nodiscard]] bool qu_study_remove(const char* path, const std::function<bool()>& unregister);

// Ends what dead servers have left beside a study, or beside the place of one: marked folders under working
// names, and in the registry, whose lists these are, the studies whose deletion was cut.
// REQUIRES: the lock of the root (see qu_lock.h), held since the lists were read.
void qu_study_tidy_beside(const char* path, string_list& names, string_list& paths);

// Takes off the mark; where that fails the next opening does it.
void qu_study_unmark(const char* path);

}  // namespace qrd
