// A file of the catalogue during a change of its descriptor or of those of its variables: read, change and
// write again happen under a lock, and what is changed was read under it.
#pragma once

#include <optional>

#include "catalogue/qd_walk.h"
#include "disk/qd_records.h"
#include "util/qu_lock.h"

namespace qrd {

struct locked_file {
  // Finds, locks and reads a file. Unclear also when somebody else holds it for too long.
  found open(const char* directory, const char* name);

  path_text path = "";
  qd_file_record record;
  std::optional<folder_lock> lock;
};

}  // namespace qrd
