#include "catalogue/qd_locked_file.h"

#include <cerrno>
#include <cstring>

#include "disk/qd_file_descriptor.h"

namespace qrd {

found locked_file::open(const char* directory, const char* name) {
  const found result = qd_find_file(directory, name, path, record);
  if (result != found::yes) return result;
  lock.emplace(path);
  if (!*lock) return errno == ENOENT ? found::no : found::unclear;
  const object_state state = qd_file_descriptor_read(path, record);
  if (state != object_state::sound) return state == object_state::gone ? found::no : found::unclear;
  // Its number may have a new owner by now.
  return std::strcmp(record.name, name) == 0 ? found::yes : found::no;
}

}  // namespace qrd
