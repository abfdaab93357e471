#include "edit/qd_companion.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "catalogue/qd_info.h"
#include "catalogue/qd_lookup.h"
#include "disk/qd_file_descriptor.h"
#include "units/qu_units.h"
#include "util/qu_directory.h"
#include "util/qu_set_aside.h"
#include "util/qu_string.h"

namespace qrd {

void qd_companion_path(const found_file& file, const char* name, path_text& path) {
  qu_path_join(path, {file.folder, path_separator, name});
}

geometry qd_find_geometry(found_file& file) {
  const found result = qd_tested(qd_look_for_file(file.directory, file.name, file.folder, file.record));
  if (result == found::no) return geometry::no_file;
  return result == found::yes ? geometry::read : geometry::unclear;
}

bool qd_info_file(found_file& file, qd_file_info& info) {
  return qd_info_file(file.directory, file.name, info, file.folder, file.record);
}

void qd_coordinates_formats(const found_file& file, qd_format_record& x, qd_format_record& y,
                            qd_format_record& z) {
  for (qd_format_record* format : {&x, &y, &z}) qu_format_copy(units.distance, *format);
  role_records roles;
  roles.walk(file.folder);
  if (qd_companion_folder_holds(file.folder, file.name))
    qd_coordinates_formats(roles, file.record.dimension, &x, &y, &z);
}

namespace {

// What isn't there, isn't a file or belongs to somebody else is no companion. Anything else that stops the
// opening may be over in a moment.
bool means_absent(int error) {
  constexpr int reasons[] = {ENOENT, ENOTDIR, EACCES, EPERM, EISDIR, EINVAL, ELOOP};
  return std::find(std::begin(reasons), std::end(reasons), error) != std::end(reasons);
}

}  // namespace

bool qd_companion_folder_holds(const char* folder, const char* file) {
  qd_file_record record;
  return qd_file_descriptor_read(folder, record) == object_state::sound &&
         std::strcmp(record.name, file) == 0;
}

companion_reader::companion_reader(const char* path, const char* file)
    : stream_(qu_file_open_n(path, read_binary)) {
  qu_path_join(path_, {path});
  if (!stream_) {
    state_ = means_absent(errno) ? state::absent : state::unreadable;
    return;
  }
  path_text folder;
  qu_path_join(folder, {path});
  qu_file_dirname(folder, folder);
  if (!qd_companion_folder_holds(folder, file)) {
    state_ = state::absent;
    return;
  }
  if (qu_file_seek(stream_.get(), 0, 2) != 0) return;
  bytes_ = qu_file_tell(stream_.get());
  if (bytes_ >= 0 && qu_file_seek(stream_.get(), 0, 0) == 0) state_ = state::open;
}

void companion_reader::set_aside() {
  qu_file_set_aside(path_, stream_.get());
}

}  // namespace qrd
