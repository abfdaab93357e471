#include "catalogue/qd_locked_file.h"

#include <cerrno>
#include <cstring>

#include "disk/qd_file_descriptor.h"

namespace qrd {

lookup_result locked_file::open(const char* directory, const char* name) {
  const lookup_result found = qd_find_file(directory, name, path, record);
  if (found != LOOKUP_FOUND) return found;
  lock.emplace(path);
  if (!*lock) return errno == ENOENT ? LOOKUP_ABSENT : LOOKUP_UNREADABLE;
  const object_state state = qd_file_descriptor_read(path, record);
  if (state != object_state::sound) return state == object_state::gone ? LOOKUP_ABSENT : LOOKUP_UNREADABLE;
  // Its number may have a new owner by now.
  return std::strcmp(record.name, name) == 0 ? LOOKUP_FOUND : LOOKUP_ABSENT;
}

}  // namespace qrd
