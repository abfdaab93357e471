// The comment of a file or variable: the plain text COMMENT in its folder.
#include "catalogue/qd_comment.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "catalogue/qd_path.h"
#include "catalogue/qd_walk.h"
#include "disk/qd_comment_file.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_macro_table.h"
#include "util/qu_file.h"
#include "util/qu_line_reader.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"

namespace qrd {

namespace {

// The folder of a file, or of a variable if there is one. False after a report that ends in `outcome`.
bool find_object(const char* directory, const char* file, const char* variable, const char* outcome,
                 path_text& path) {
  if (variable == nullptr) {
    if (qd_file_path(directory, file, path)) return true;
    qu_message("Warning: %s/%s does not exist. Description not %s.", directory, file, outcome);
    return false;
  }
  name_text name;
  if (qd_catalogue_name(variable, name) && qd_variable_path(directory, file, name, path)) return true;
  qu_message("Warning: %s/%s/%s does not exist. Description not %s.", directory, file, variable, outcome);
  return false;
}

// True if the folder is still that of the object: its number may have a new owner.
bool bears_its_name(const char* object_path, const char* file, const char* variable) {
  if (variable == nullptr) return qd_is_still<file_level>(object_path, file);
  name_text name;
  return qd_catalogue_name(variable, name) && qd_is_still<variable_level>(object_path, name);
}

}  // namespace

found qd_comment_read(const char* directory, const char* file, const char* variable, std::string& text) {
  text.clear();
  if (directory == nullptr || file == nullptr) qu_misuse_number("qd_comment_read", 1);
  path_text object_path;
  if (!find_object(directory, file, variable, "read", object_path)) return found::no;

  path_text path;
  qd_comment_path(object_path, path);
  file_stream stream(qu_file_open_n(path, read_text));
  if (!stream) return qu_is_gone(errno) || errno == EINVAL ? found::no : found::unreadable;
  while (const char* line = qu_file_next_line(stream.get(), true)) text += line;
  const bool is_whole = std::feof(stream.get()) != 0 && std::ferror(stream.get()) == 0;
  return is_whole ? found::yes : found::unreadable;
}

bool qd_comment_write(const char* directory, const char* file, const char* variable, int /*append*/,
                      const char* text) {
  if (directory == nullptr || file == nullptr) qu_misuse_number("qd_comment_write", 1);
  path_text object_path;
  if (!find_object(directory, file, variable, "updated", object_path)) return false;
  const folder_lock lock(object_path);
  if (!lock || !bears_its_name(object_path, file, variable)) {
    qu_message("Description will not be updated.");
    return false;
  }
  // Appending reads what is there, and the opening has just emptied it: clients count on the replacement.
  return qd_comment_replace(object_path, text) == object_state::sound;
}

}  // namespace qrd
