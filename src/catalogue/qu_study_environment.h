// The environment of a study: palettes, scales and the like. A bare study gets that of the study "Template".
#pragma once

#include <string>
#include <vector>

#include "util/qu_lock.h"

namespace qrd {

// Copies the environment of one study to another. What can't be copied is told and passed over.
void qu_study_copy_environment(const char* from, const char* to);

// The folders that tell a bare study by how many of them are missing, on their way into it.
//
// Since the first one in its place ends the bareness, all of them are made whole beside, with all else done
// before: an opening that is cut leaves a bare study, or one whose other folders wait for their places.
class missing_folders {
 public:
  enum class state {
    known,
    gone,   // the study, or what waited for its place
    failed  // not to be had now; errno tells why
  };

  // REQUIRES: the lock of the study.
  missing_folders(const char* study, const folder_lock& lock);
  missing_folders(const missing_folders&) = delete;
  missing_folders& operator=(const missing_folders&) = delete;
  ~missing_folders();

  state looked() const { return state_; }
  bool is_bare() const;
  // Copies what a bare study gets, the missing folders to where they wait.
  state bring(const std::string& template_study);
  // Where the folder of that name waits, or an empty text: it is made empty.
  std::string waiting(const std::string& name) const;

 private:
  state prepare(const std::string& template_study);
  bool is_missing(const std::string& name) const;
  void find_left(const folder_lock& lock);

  std::string study_;
  std::vector<std::string> names_;
  std::string beside_;  // where they wait
  state state_ = state::failed;
};

}  // namespace qrd
