#include "disk/qd_comment_file.h"

#include <cerrno>
#include <cstdio>

#include "disk/qd_descriptor.h"
#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

void qd_comment_path(const char* object_path, path_text& path) {
  qu_path_join(path, {object_path, path_separator, "COMMENT"});
}

int qd_comment_replace(const char* object_path, const char* text) {
  path_text path;
  qd_comment_path(object_path, path);
  replaced_file file(path, write_text);
  if (!file) {
    qd_object_unwritten(errno);
    qu_message("Cannot open file or variable descrition file for writing:\n %s", path);
    qu_message("Description will not be updated.");
    qu_message("Check directory permissions and disk space.\n");
    return 1;
  }
  const bool written = std::fputs(text, file.get()) >= 0 && file.commit();
  if (written) return 0;
  qd_object_unwritten(errno);
  qu_message(
      "Error while updating file or variable description.\nComment has not been updated.\n"
      "Check disk space and quotas\n");
  return 1;
}

}  // namespace qrd
