#include "disk/qd_descriptor.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

// What passes by itself, or with more room. Of anything else a second attempt would find the same.
bool is_passing(int reason) {
  switch (reason) {
    case EACCES:
    case EPERM:
    case EINVAL:
    case EISDIR:
    case ELOOP:
    case ENAMETOOLONG:
    case ENXIO:
      return false;
    default:
      return true;
  }
}

}  // namespace

object_state qd_unread_state(int reason) {
  if (qu_is_gone(reason)) return object_state::gone;
  return is_passing(reason) ? object_state::unreadable : object_state::damaged;
}

object_state qd_unwritten_state(int reason) {
  return qu_is_gone(reason) ? object_state::gone : object_state::unreadable;
}

object_state qd_misread_state(const char* object_path) {
  return qd_folder_gone(object_path) ? object_state::gone : object_state::damaged;
}

bool qd_folder_gone(const char* path) {
  std::error_code error;
  return std::filesystem::symlink_status(path, error).type() == std::filesystem::file_type::not_found;
}

void qd_descriptor_path(const char* object_path, path_text& path) {
  qu_path_join(path, {object_path, path_separator, "DESCR"});
}

file_stream qd_object_file_open(const char* path, file_mode mode) {
  file_stream stream(qu_file_open_n(path, mode));
  if (stream || qu_is_gone(errno)) return stream;
  return file_stream(qu_file_open_f(path, mode));
}

object_state qd_object_file_replace(const char* path, const std::function<bool(XDR*)>& write) {
  replaced_file file(path, write_binary);
  if (file) {
    xdr_stream xdr(file.get(), XDR_ENCODE);
    if (xdr && write(xdr.get()) && file.commit()) return object_state::sound;
  }
  return qd_unwritten_state(errno);
}

descriptor_reader::descriptor_reader(const char* object_path) {
  path_text path;
  qd_descriptor_path(object_path, path);
  const std::int64_t count = qu_file_read_start(path, bytes_, sizeof bytes_);
  if (count >= 0) {
    xdr_.emplace(bytes_, static_cast<std::uint32_t>(count));
    return;
  }
  state_ = qd_unread_state(errno);
  if (state_ != object_state::gone) qu_report_failure("Unable to read", path);
}

}  // namespace qrd
