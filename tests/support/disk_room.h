// A file system that tells how much free room it has, while the object lives.
#pragma once

#include <cstdint>

namespace qrd::test {

class disk_room {
 public:
  explicit disk_room(std::int64_t bytes);
  disk_room(const disk_room&) = delete;
  disk_room& operator=(const disk_room&) = delete;
  ~disk_room();
};

}  // namespace qrd::test
