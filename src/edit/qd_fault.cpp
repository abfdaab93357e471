#include "edit/qd_fault.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "catalogue/qd_info.h"
#include "catalogue/qd_path.h"
#include "catalogue/qd_test.h"
#include "disk/qd_descriptor.h"
#include "edit/qd_companion.h"
#include "samples/qd_check.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr std::int64_t fault_version = 2;
constexpr std::uint32_t fault_name_limit = 8;
constexpr std::int64_t polyline_mark = 1000;
// The name before the first record: a record of that name can't begin a fault.
constexpr char no_fault_name[] = "   ";

int fault_path(const char* directory, const char* file, fault_variant variant, path_text& path) {
  constexpr const char* names[] = {"FAULT", "FAULT.TMP", "FAULT.TM1"};
  return qd_companion_path(directory, file, names[variant], path);
}

// The header behind the version word, in both directions.
bool move_header(XDR* xdr, fault_info& info) {
  return qu_xdr_int(xdr, &info.is_2d) && qu_xdr_int(xdr, &info.has_attributes) &&
         qu_xdr_int(xdr, &info.fault_count) && qu_xdr_int(xdr, &info.segment_count) &&
         qu_xdr_int(xdr, &info.priority_min) && qu_xdr_int(xdr, &info.priority_max) &&
         qu_xdr_int(xdr, &info.priority_limit);
}

// A segment record behind the name, in both directions.
bool move_segment(XDR* xdr, bool is_2d, bool with_attributes, fault_segment& segment,
                  std::int64_t& priority_word) {
  if (!xdr_double(xdr, &segment.x1) || !xdr_double(xdr, &segment.y1)) return false;
  if (!is_2d && !xdr_double(xdr, &segment.z1)) return false;
  if (!xdr_double(xdr, &segment.x2) || !xdr_double(xdr, &segment.y2)) return false;
  if (!is_2d && !(xdr_double(xdr, &segment.z2) && xdr_double(xdr, &segment.x3) &&
                  xdr_double(xdr, &segment.y3) && xdr_double(xdr, &segment.z3)))
    return false;
  if (with_attributes && !(xdr_double(xdr, &segment.attribute_1) && xdr_double(xdr, &segment.attribute_2) &&
                           xdr_double(xdr, &segment.attribute_3)))
    return false;
  return qu_xdr_int(xdr, &priority_word) != 0;
}

bool has_attribute(const fault_segment& segment) {
  return segment.attribute_1 != missing_double || segment.attribute_2 != missing_double ||
         segment.attribute_3 != missing_double;
}

// What the header says of the segments; also stored in the system.
fault_info summarise(fault_system& system) {
  system.priority_min = fault_priority_limit + 1;
  system.priority_max = 0;
  system.has_attributes = 0;
  for (const fault& each : system.faults)
    for (const fault_segment& segment : each.segments) {
      system.priority_min = std::min(system.priority_min, segment.priority);
      system.priority_max = std::max(system.priority_max, segment.priority);
      if (has_attribute(segment)) system.has_attributes = 1;
    }
  fault_info info;
  info.is_2d = system.is_2d;
  info.has_attributes = system.has_attributes;
  info.fault_count = static_cast<std::int64_t>(system.faults.size());
  info.segment_count = system.segment_count;
  info.priority_min = system.priority_min;
  info.priority_max = system.priority_max;
  info.priority_limit = system.priority_limit;
  return info;
}

bool write_system(XDR* xdr, fault_system& system) {
  std::int64_t version = fault_version;
  if (!qu_xdr_int(xdr, &version)) return false;
  fault_info info = summarise(system);
  if (!move_header(xdr, info)) return false;
  const bool is_2d = system.is_2d != 0;
  for (fault& each : system.faults)
    for (fault_segment& segment : each.segments) {
      std::int64_t word = segment.priority;
      if (is_2d && each.is_polyline != 0) word += polyline_mark;
      if (!qu_xdr_text(xdr, each.name, fault_name_limit) || !move_segment(xdr, is_2d, true, segment, word))
        return false;
    }
  return true;
}

enum class header_state { read, damaged, failed };

header_state read_header(const companion_reader& companion, fault_info& info) {
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  std::int64_t version = 0;
  if (!xdr) return header_state::failed;
  const bool read = qu_xdr_int(xdr.get(), &version) && move_header(xdr.get(), info);
  if (!companion.is_whole()) return header_state::failed;
  return read ? header_state::read : header_state::damaged;
}

// Clears the place of a file to be written: 0, 1 if something is there that can't be judged, 3 if it is
// sound.
int make_way(const char* path, const char* file) {
  companion_reader present(path, file);
  if (present.opened() == companion_reader::state::open) {
    fault_info info;
    const header_state state = read_header(present, info);
    if (state == header_state::read) return 3;
    if (state == header_state::damaged) present.set_aside();
  }
  return access(path, F_OK) == 0 ? 1 : 0;
}

// The records up to the end of the file. False after a failed read inside a record.
bool read_segments(XDR* xdr, std::int64_t version, fault_system& system) {
  const bool is_2d = system.is_2d != 0;
  const bool stored_attributes = version >= 2 || system.has_attributes != 0;
  const bool kept_attributes = version > 2 || system.has_attributes != 0;
  fault* current = nullptr;
  char name[fault_name_size];
  while (qu_xdr_text(xdr, name, fault_name_limit)) {
    fault_segment read;
    std::int64_t word = 0;
    if (!move_segment(xdr, is_2d, stored_attributes, read, word)) return false;
    if (!kept_attributes) read.attribute_1 = read.attribute_2 = read.attribute_3 = missing_double;
    read.priority = word % polyline_mark;
    if (std::strcmp(name, current == nullptr ? no_fault_name : current->name) != 0)
      current = qu_fault_new(system, name, is_2d ? word / polyline_mark : 0);
    if (current == nullptr) return false;
    *qu_fault_add_segment(*current, nullptr) = read;
  }
  return true;
}

}  // namespace

int qd_fault_info(const char* directory, const char* file, fault_variant variant, fault_info& info) {
  if (int test = qd_file_test(ORG_ANY, DIM_ANY, directory, file); test != 0) return test;
  path_text path;
  if (fault_path(directory, file, variant, path) == 0) return 2;
  companion_reader companion(path, file);
  if (companion.opened() != companion_reader::state::open)
    return companion.opened() == companion_reader::state::absent ? 1 : 2;
  const header_state state = read_header(companion, info);
  if (state == header_state::damaged) qu_message("Fault file corrupted: %s\n", path);
  return state == header_state::read ? 0 : state == header_state::damaged ? 1 : 2;
}

int qd_fault_write(const char* directory, const char* file, fault_variant variant, fault_system& system) {
  if (qd_check_file(ORG_ANY, DIM_ANY, directory, file, no_name, nullptr, nullptr) == 0) return 2;
  path_text folder, path;
  if (qd_file_path(directory, file, folder) == 0 || fault_path(directory, file, variant, path) == 0) return 2;
  // Until here another server may have deleted the file, and a new one have taken its number, or it may have
  // faults by now.
  const folder_lock lock(folder);
  if (!lock || !lock.is_at(folder) || !qd_companion_folder_holds(folder, file)) return 1;
  if (int state = make_way(path, file); state != 0) return state;
  return qd_object_file_replace(path, [&system](XDR* xdr) { return write_system(xdr, system); }) ? 0 : 1;
}

int qd_fault_read(const char* directory, const char* file, fault_variant variant,
                  std::unique_ptr<fault_system>& system) {
  path_text path;
  if (qd_file_test(ORG_ANY, DIM_ANY, directory, file) != 0 || fault_path(directory, file, variant, path) == 0)
    return 2;
  companion_reader companion(path, file);
  if (companion.opened() != companion_reader::state::open) return 2;
  xdr_stream xdr(companion.stream(), XDR_DECODE);
  if (!xdr) return 2;
  std::int64_t version = 0;
  fault_info info;
  bool read = qu_xdr_int(xdr.get(), &version) && move_header(xdr.get(), info);
  if (read) {
    system = qu_fault_system_new(info.is_2d, info.has_attributes);
    system->priority_min = info.priority_min;
    system->priority_max = info.priority_max;
    system->priority_limit = info.priority_limit;
    read = read_segments(xdr.get(), version, *system);
  }
  // The records end with the file: a failure of the disk must not look like the end.
  if (!companion.is_whole()) return 2;
  if (!read) {
    companion.set_aside();
    return 1;
  }
  // What is missing keeps the distance format.
  qd_coordinates_formats(1, directory, file, &system->unit_x, &system->unit_y, &system->unit_z);
  return 0;
}

}  // namespace qrd
