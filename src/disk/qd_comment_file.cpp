#include "disk/qd_comment_file.h"

#include <cerrno>
#include <cstdio>

#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

void qd_comment_path(const char* object_path, path_text& path) {
  qu_path_join(path, {object_path, path_separator, "COMMENT"});
}

object_state qd_comment_replace(const char* object_path, const char* text) {
  path_text path;
  qd_comment_path(object_path, path);
  replaced_file file(path, write_text);
  if (!file) {
    const object_state state = qd_unwritten_state(errno);
    qu_message("Cannot open file or variable descrition file for writing:\n %s", path);
    qu_message("Description will not be updated.");
    qu_message("Check directory permissions and disk space.\n");
    return state;
  }
  const bool written = std::fputs(text, file.get()) >= 0 && file.commit();
  if (written) return object_state::sound;
  const object_state state = qd_unwritten_state(errno);
  qu_message(
      "Error while updating file or variable description.\nComment has not been updated.\n"
      "Check disk space and quotas\n");
  return state;
}

}  // namespace qrd
