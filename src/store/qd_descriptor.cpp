#include "store/qd_descriptor.h"

#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "store/qd_tools.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

bool object_gone = false;

}  // namespace

bool qd_object_gone() {
  return object_gone;
}

bool qd_folder_gone(const char* path) {
  std::error_code error;
  return std::filesystem::symlink_status(path, error).type() == std::filesystem::file_type::not_found;
}

void qd_descriptor_path(const char* object_path, path_text& path) {
  qu_path_join(path, {object_path, path_separator, "DESCR"});
}

file_stream qd_descriptor_open(const char* object_path) {
  path_text path;
  qd_descriptor_path(object_path, path);
  file_stream stream(qu_file_open_n(path, read_binary));
  // Only a failed opening pays for the question whether another server has deleted the object meanwhile.
  object_gone = !stream && qd_folder_gone(object_path);
  if (!stream && !object_gone) stream = file_stream(qu_file_open_f(path, read_binary));
  return stream;
}

// The new fields go over the old ones and what was longer is cut off afterwards. The fields fit the
// stream's buffer and leave it in one write, so that a server that reads at this moment finds the old
// descriptor or the new one, and never an empty file.
file_stream qd_descriptor_rewrite(const char* object_path) {
  path_text path;
  qd_descriptor_path(object_path, path);
  file_stream stream(qu_file_open_n(path, update_binary));
  if (!stream) stream = file_stream(qu_file_open_f(path, write_binary));
  return stream;
}

bool qd_descriptor_rewritten(file_stream& stream) {
  if (std::fflush(stream.get()) != 0) return false;
  const off_t length = ftello(stream.get());
  if (length < 0 || ftruncate(fileno(stream.get()), length) != 0) return false;
  return stream.close();
}

}  // namespace qrd
