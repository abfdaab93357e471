// Creating and opening studies.
#pragma once

#include <cstdint>
#include <functional>

#include "disk/store_state.h"
#include "units/qu_units.h"
#include "util/qu_file.h"

namespace qrd {

enum class [[nodiscard]] study_making{done, exists, failed};
// `template_path` may be "None". `enter`, if there is one, has the last word once the study stands in its
// place: false is a failure. Nothing is left of one, parents included.
study_making qu_study_create(const char* path, const char* template_path, std::int64_t with_units,
                             const std::function<bool()>& enter = nullptr);
// What came of opening a study; anything but the first leaves open what was.
enum class [[nodiscard]] study_opening{
    opened,
    other_version,  // that of the study found
    no_registry,    // it is there and can't be read
    too_long,       // the path of a study below this root
    gone,           // other servers delete what this one wants to open
    in_use,         // another server prepares it for too long
    incomplete      // what it lacks can't be brought now; told
};
// "None" takes the current name or the first that fits, which also stands in for a name that can't be opened.
// Other failures are fatal. May end the process.
study_opening qu_study_open(const char* name);
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
