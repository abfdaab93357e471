#include "geometry/qd_companion.h"

#include "store/qd_tools.h"
#include "util/qu_string.h"

namespace qrd {

int qd_companion_path(const char* directory, const char* file, const char* name, path_text& path) {
  path_text folder;
  if (qd_file_path(directory, file, folder) == 0) return 0;
  qu_path_join(path, {folder, path_separator, name});
  return 1;
}

}  // namespace qrd
