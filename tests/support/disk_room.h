// A file system that tells how much free room it has, while the object lives.
#pragma once

#include <cstdint>

#include "support/unmovable.h"

namespace qrd::test {

class disk_room : unmovable {
 public:
  explicit disk_room(std::int64_t bytes);
  ~disk_room();
};

}  // namespace qrd::test
