#include "edit/qd_fault.h"

#include <unistd.h>

#include "catalogue/qd_path.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_fault_format.h"
#include "edit/qd_companion.h"
#include "samples/qd_reported_check.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

void fault_path(const found_file& file, path_text& path) {
  qd_companion_path(file, "FAULT", path);
}

enum class header_state { read, damaged, failed };

header_state read_header(const companion_reader& companion, fault_info& info) {
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  std::int64_t version = 0;
  if (!xdr) return header_state::failed;
  const bool read = qd_fault_header_read(xdr.get(), version, info);
  if (!companion.is_whole()) return header_state::failed;
  return read ? header_state::read : header_state::damaged;
}

// Clears the place of a file to be written; it fails if something is there that can't be judged.
fault_writing make_way(const char* path, const char* file) {
  companion_reader present(path, file);
  if (present.opened() == companion_reader::state::open) {
    fault_info info;
    const header_state state = read_header(present, info);
    if (state == header_state::read) return fault_writing::already_faulted;
    if (state == header_state::damaged) present.set_aside();
  }
  return access(path, F_OK) == 0 ? fault_writing::failed : fault_writing::done;
}

}  // namespace

geometry qd_fault_info(const found_file& file, fault_info& info) {
  path_text path;
  fault_path(file, path);
  companion_reader companion(path, file.name);
  if (companion.opened() != companion_reader::state::open) return companion.unopened();
  const header_state state = read_header(companion, info);
  if (state == header_state::damaged) qu_message("Fault file corrupted: %s\n", path);
  if (state == header_state::read) return geometry::read;
  return state == header_state::damaged ? geometry::damaged : geometry::unclear;
}

fault_writing qd_fault_write(const char* directory, const char* file, fault_system& system) {
  if (!qd_check_file(ORG_ANY, DIM_ANY, directory, file, no_name, nullptr, nullptr))
    return fault_writing::failed;
  found_file place = {directory, file};
  if (!qd_file_path(directory, file, place.folder)) return fault_writing::failed;
  const char* folder = place.folder;
  path_text path;
  fault_path(place, path);
  // Until here another server may have deleted the file, and a new one have taken its number, or it may have
  // faults by now.
  const folder_lock lock(folder);
  if (!lock || !lock.is_at(folder) || !qd_companion_folder_holds(folder, file)) return fault_writing::failed;
  if (const fault_writing state = make_way(path, file); state != fault_writing::done) return state;
  const auto write = [&system](XDR* xdr) { return qd_fault_system_write(xdr, system); };
  return qd_object_file_replace(path, write) == object_state::sound ? fault_writing::done
                                                                    : fault_writing::failed;
}

geometry qd_fault_read(const found_file& file, std::unique_ptr<fault_system>& system) {
  path_text path;
  fault_path(file, path);
  companion_reader companion(path, file.name);
  if (companion.opened() != companion_reader::state::open) return companion.unopened();
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return geometry::unclear;
  std::int64_t version = 0;
  fault_info info;
  bool read = qd_fault_header_read(xdr.get(), version, info);
  if (read) {
    system = qu_fault_system_new(info.is_2d, info.has_attributes);
    system->priority_min = info.priority_min;
    system->priority_max = info.priority_max;
    system->priority_limit = info.priority_limit;
    read = qd_fault_segments_read(xdr.get(), version, *system);
  }
  // The records end with the file: a failure of the disk must not look like the end.
  if (!companion.is_whole()) return geometry::unclear;
  if (!read) {
    companion.set_aside();
    return geometry::damaged;
  }
  qd_coordinates_formats(file, system->unit_x, system->unit_y, system->unit_z);
  return geometry::read;
}

}  // namespace qrd
