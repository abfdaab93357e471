#include "disk/qd_descriptor.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "util/qu_file_replace.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

object_state last_state = object_state::sound;

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

object_state qd_object_state() {
  return last_state;
}

bool qd_object_gone() {
  return last_state == object_state::gone;
}

bool qd_object_failed(int reason) {
  last_state = qu_is_gone(reason)   ? object_state::gone
               : is_passing(reason) ? object_state::unreadable
                                    : object_state::damaged;
  return qd_object_gone();
}

void qd_object_unwritten(int reason) {
  last_state = qu_is_gone(reason) ? object_state::gone : object_state::unreadable;
}

bool qd_folder_gone(const char* path) {
  std::error_code error;
  return std::filesystem::symlink_status(path, error).type() == std::filesystem::file_type::not_found;
}

bool qd_object_lost(const char* object_path) {
  if (last_state == object_state::sound)
    last_state = qd_folder_gone(object_path) ? object_state::gone : object_state::damaged;
  return qd_object_gone();
}

void qd_descriptor_path(const char* object_path, path_text& path) {
  qu_path_join(path, {object_path, path_separator, "DESCR"});
}

file_stream qd_object_file_open(const char* path, file_mode mode) {
  last_state = object_state::sound;
  file_stream stream(qu_file_open_n(path, mode));
  if (stream || qd_object_failed(errno)) return stream;
  return file_stream(qu_file_open_f(path, mode));
}

bool qd_object_file_replace(const char* path, const std::function<bool(XDR*)>& write) {
  last_state = object_state::sound;
  replaced_file file(path, write_binary);
  if (file) {
    xdr_stream xdr(file.get(), XDR_ENCODE);
    if (xdr && write(xdr.get()) && file.commit()) return true;
  }
  qd_object_unwritten(errno);
  return false;
}

descriptor_reader::descriptor_reader(const char* object_path) {
  path_text path;
  qd_descriptor_path(object_path, path);
  last_state = object_state::sound;
  const std::int64_t count = qu_file_read_start(path, bytes_, sizeof bytes_);
  if (count >= 0) {
    xdr_.emplace(bytes_, static_cast<std::uint32_t>(count));
    return;
  }
  if (qd_object_failed(errno)) return;
  qu_report_failure("Unable to read", path);
}

}  // namespace qrd
