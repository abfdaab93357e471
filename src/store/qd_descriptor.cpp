#include "store/qd_descriptor.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

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
  if (replaced_file file(path, write_binary); file) {
    xdr_stream xdr(file.get(), XDR_ENCODE);
    return xdr && write(xdr.get()) && file.commit();
  }
  file_stream stream = qd_object_file_open(path, write_binary);
  if (!stream) return false;
  xdr_stream xdr(stream.get(), XDR_ENCODE);
  const bool written = xdr && write(xdr.get());
  return stream.close() && written;
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

// The new fields go over the old ones and what was longer is cut off afterwards. The fields fit the
// stream's buffer and leave it in one write, so that a server that reads at this moment finds the old
// descriptor or the new one, and never an empty file.
file_stream qd_descriptor_rewrite(const char* object_path) {
  path_text path;
  qd_descriptor_path(object_path, path);
  object_gone = false;
  file_stream stream(qu_file_open_n(path, update_binary));
  return stream ? std::move(stream) : qd_object_file_open(path, write_binary);
}

bool qd_descriptor_rewritten(file_stream& stream) {
  if (std::fflush(stream.get()) != 0) return false;
  const off_t length = ftello(stream.get());
  if (length < 0 || ftruncate(fileno(stream.get()), length) != 0) return false;
  return stream.close();
}

}  // namespace qrd
