// Creating and opening studies.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "disk/store_state.h"
#include "units/qu_units.h"
#include "util/qu_file.h"

namespace qrd {

// 0 done, 1 exists, 2 failed. `template_path` may be "None". `enter`, if there is one, has the last word once
// the study stands in its place: false is a failure. Nothing is left of one, parents included.
int qu_study_create(const char* path, const char* template_path, std::int64_t with_units,
                    const std::function<bool()>& enter = nullptr);
void qu_study_copy_environment(bool first_use, const char* from, const char* to);
// What came of opening a study; anything but the first leaves open what was.
enum study_opening : int {
  STUDY_OPENED = 0,
  STUDY_OTHER_VERSION = 1,  // that of the study found
  STUDY_NO_REGISTRY = 2,    // it is there and can't be read
  STUDY_TOO_LONG = 3,       // the path of a study below this root
  STUDY_GONE = 4,           // other servers delete what this one wants to open
  STUDY_IN_USE = 5,         // another server prepares it for too long
  STUDY_INCOMPLETE = 6      // what it lacks can't be brought now; told
};
// "None" takes the current name or the first that fits, which also stands in for a name that can't be opened.
// Other failures are fatal.
int qu_study_open(const char* name);
// Which root and which study are open, to be put back after a failure.
class open_store {
 public:
  void put_back() const {
    store = store_;
    units = units_;
  }

 private:
  store_state store_ = store;
  unit_state units_ = units;
};

// True if a name can be one element of a path.
bool qu_is_path_element(const char* name);
// True if the path is the folder or lies below it, whatever symbolic links stand between.
bool qu_path_lies_within(const char* path, const char* folder);

}  // namespace qrd
