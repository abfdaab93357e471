#include "store/qd_descriptor.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "store/qd_tools.h"
#include "util/qu_file_replace.h"
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

bool qd_object_lost(const char* object_path) {
  return object_gone = qd_folder_gone(object_path);
}

void qd_descriptor_path(const char* object_path, path_text& path) {
  qu_path_join(path, {object_path, path_separator, "DESCR"});
}

file_stream qd_object_file_open(const char* path, file_mode mode) {
  // Between a failed opening and the look at the folder its number may be taken by a new object.
  constexpr int attempts = 3;
  object_gone = false;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    file_stream stream(qu_file_open_n(path, mode));
    if (stream) return stream;
    if (errno != ENOENT) break;
    path_text folder;
    qu_path_join(folder, {path});
    object_gone = qd_folder_gone(qu_file_dirname(folder, folder));
    if (object_gone) return stream;
  }
  return file_stream(qu_file_open_f(path, mode));
}

bool qd_object_file_replace(const char* path, const std::function<bool(XDR*)>& write) {
  object_gone = false;
  replaced_file file(path, write_binary);
  if (!file) {
    object_gone = errno == ENOENT;
    return false;
  }
  xdr_stream xdr(file.get(), XDR_ENCODE);
  if (xdr && write(xdr.get()) && file.commit()) return true;
  object_gone = errno == ENOENT;
  return false;
}

descriptor_reader::descriptor_reader(const char* object_path) {
  path_text path;
  qd_descriptor_path(object_path, path);
  object_gone = false;
  std::int64_t count = qu_file_read_start(path, bytes_, sizeof bytes_);
  if (count < 0) {
    file_stream stream = qd_object_file_open(path, read_binary);
    if (!stream) return;
    count = static_cast<std::int64_t>(std::fread(bytes_, 1, sizeof bytes_, stream.get()));
  }
  xdr_.emplace(bytes_, static_cast<std::uint32_t>(count));
}

}  // namespace qrd
