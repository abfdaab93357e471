// The descriptor of a catalogue file, FILE.<m>/DESCR, version 1100.
//
//   xint         version
//   xstring(50)  name
//   xint         organisation, dimension, line count (0 unless it is a lines file)
//   xdouble      x0, y0, z0, dx, dy, dz    cm; 0 unless it is a grid
//   xint         nx, ny, nz
//   xdouble      angle1, angle2, angle3    degrees
//   xstring(50)  name of the linked file, or empty
//   xlong        samples in use, samples for which the data files have room
//
// Old versions:
//   below 200    no angle3
//   below 520    one more xint behind the name and one behind the linked name; both sample counts are xint;
//                the entries of LINE are xint
//   below 900    three xstring(9) behind the last field, unit names of that time
//   900 to 1099  ten of them
#include "disk/qd_file_descriptor.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "disk/qd_descriptor.h"
#include "disk/qd_grid.h"
#include "disk/qd_line_table.h"
#include "util/qu_file_replace.h"
#include "util/qu_lock.h"
#include "util/qu_memory.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr std::int64_t third_angle_version = 200;
constexpr std::int64_t wide_counts_version = 520;
constexpr std::int64_t more_units_version = 900;

constexpr char file_corrupted[] = "File descriptor corrupted:\n%s";

// Moves a field that no record keeps.
bool skip_int(XDR* xdr) {
  std::int64_t dropped = 0;
  return qu_xdr_int(xdr, &dropped);
}

bool skip_unit_names(XDR* xdr, std::int64_t version) {
  if (!is_old_descriptor(version)) return true;
  char dropped[10];
  for (int left = version < more_units_version ? 3 : 10; left > 0; --left) {
    if (!qu_xdr_text(xdr, dropped, 9)) return false;
  }
  return true;
}

bool move_grid(XDR* xdr, std::int64_t version, qd_grid_record& grid) {
  for (double* field : {&grid.x0, &grid.y0, &grid.z0, &grid.dx, &grid.dy, &grid.dz}) {
    if (!xdr_double(xdr, field)) return false;
  }
  return qu_xdr_int(xdr, &grid.nx) && qu_xdr_int(xdr, &grid.ny) && qu_xdr_int(xdr, &grid.nz) &&
         xdr_double(xdr, &grid.angle1) && xdr_double(xdr, &grid.angle2) &&
         (version < third_angle_version || xdr_double(xdr, &grid.angle3));
}

bool move_file_fields(XDR* xdr, std::int64_t* version, qd_file_record& record) {
  if (!qu_xdr_int(xdr, version) || *version < oldest_descriptor_version) return false;
  const bool wide = *version >= wide_counts_version;
  const auto move_count = wide ? qu_xdr_long : qu_xdr_int;
  return qu_xdr_text(xdr, record.name, descriptor_name_limit) && (wide || skip_int(xdr)) &&
         qu_xdr_int(xdr, &record.organisation) && qu_xdr_int(xdr, &record.dimension) &&
         qu_xdr_int(xdr, &record.line_count) && move_grid(xdr, *version, record.grid) &&
         qu_xdr_text(xdr, record.link_name, descriptor_name_limit) && (wide || skip_int(xdr)) &&
         move_count(xdr, &record.sample_count) && move_count(xdr, &record.allocated_samples) &&
         skip_unit_names(xdr, *version);
}

bool is_count(std::int64_t value, std::int64_t limit) {
  return value >= 0 && value <= limit;
}

// What may be worked with after the fields have been read. All later arithmetic relies on it, so a record
// that doesn't hold is corrupted; whatever can do no harm passes: an unknown organisation, a capacity
// below the sample count or beside the steps of 512, a node count that isn't the sample count, the grid
// and line fields of a file of another kind.
bool is_sound(const qd_file_record& record) {
  // Room for the rounding up to whole blocks.
  constexpr std::int64_t sample_limit = INT64_MAX / block_samples * block_samples;
  if (!is_count(record.sample_count, sample_limit) || !is_count(record.allocated_samples, sample_limit)) {
    return false;
  }
  // The dimension counts coordinates in arrays of three.
  if (record.dimension < 1 || record.dimension > 3) return false;
  if (is_lines(record.organisation) && !is_count(record.line_count, missing_int32 - 1)) return false;
  if (record.organisation == ORG_GRID && record.sample_count > 0) {
    const qd_grid_record& grid = record.grid;
    const std::int64_t nz = record.dimension == 2 ? 1 : grid.nz;  // 2D files don't care about theirs
    if (grid.nx < 1 || grid.ny < 1 || nz < 1) return false;
    std::int64_t nodes = 0;
    if (__builtin_mul_overflow(grid.nx, grid.ny, &nodes) || __builtin_mul_overflow(nodes, nz, &nodes)) {
      return false;
    }
  }
  return true;
}

// Reads the whole table of LINE with one width of entries. False if it isn't there or isn't a table of
// this file.
bool read_lines(std::FILE* stream, int (*move_entry)(XDR*, std::int64_t*), const qd_file_record& record,
                checked_array<std::int64_t>& table) {
  if (qu_file_seek(stream, 0, 0) != 0) return false;
  xdr_stream xdr(stream, XDR_DECODE);
  if (!xdr) return false;
  std::int64_t least = 1;
  for (std::int64_t& entry : table) {
    if (!move_entry(xdr.get(), &entry) || entry < least) return false;
    least = entry;
  }
  return table[0] == 1 && table[table.count() - 1] == record.sample_count + 1;
}

bool write_lines(const char* line_path, checked_array<std::int64_t>& table) {
  replaced_file wide(line_path, write_binary);
  if (!wide) return false;
  xdr_stream xdr(wide.get(), XDR_ENCODE);
  if (!xdr) return false;
  for (std::int64_t& entry : table)
    if (!qu_xdr_long(xdr.get(), &entry)) return false;
  return wide.commit();
}

// Puts a table with wide entries in the place of LINE, before the descriptor tells of it: whoever still has
// the old descriptor knows by the first entry which of the two tables it reads. One that was widened before,
// by a server that came no further, is left as it is.
object_state widen_lines(const char* path, const char* line_path, const qd_file_record& record) {
  file_stream stream(qu_file_open_n(line_path, read_binary));
  if (!stream || qu_file_seek(stream.get(), 0, 2) != 0) return qd_misread_state(path);
  const std::int64_t entries = record.line_count + 1;
  if (qu_file_tell(stream.get()) / 4 < entries) return qd_misread_state(path);
  checked_array<std::int64_t> table;
  if (!table.allocate(entries)) {
    qu_message("Cannot allocate memory to update line");
    return qd_unwritten_state(ENOMEM);
  }
  if (read_lines(stream.get(), qu_xdr_int, record, table))
    return write_lines(line_path, table) ? object_state::sound : qd_unwritten_state(errno);
  return read_lines(stream.get(), qu_xdr_long, record, table) ? object_state::sound : qd_misread_state(path);
}

// The one-time upgrade of a file from a version below 520. What isn't sound has been reported, or is gone.
object_state upgrade_file(const char* path, const qd_file_record& record) {
  if (is_lines(record.organisation)) {
    path_text line_path;
    qu_path_join(line_path, {path, path_separator, line_file_name});
    const object_state lines = widen_lines(path, line_path, record);
    if (qd_needs_report(lines)) qu_message("Line descriptor corrupted:\n%s", line_path);
    if (lines != object_state::sound) return lines;
  }
  qd_delete_derived_files(path);
  const object_state written = qd_file_descriptor_write(path, record);
  if (qd_needs_report(written)) qu_message("Can't write new file descriptor");
  return written;
}

// What isn't sound has been reported, or is gone.
object_state read_fields(const char* path, std::int64_t& version, qd_file_record& record) {
  descriptor_reader descriptor(path);
  if (descriptor.state() != object_state::sound) return descriptor.state();
  if (move_file_fields(descriptor.get(), &version, record) && is_sound(record)) return object_state::sound;
  const object_state state = qd_misread_state(path);
  if (qd_needs_report(state)) qu_message(file_corrupted, path);
  return state;
}

}  // namespace

object_state qd_file_descriptor_read(const char* path, qd_file_record& record) {
  record = qd_file_record();
  std::int64_t version = 0;
  object_state state = read_fields(path, version, record);
  std::optional<folder_lock> lock;
  if (state == object_state::sound && is_old_descriptor(version)) {
    // Another server may upgrade the file at this moment, and have it grown before we look again.
    lock.emplace(path);
    if (!*lock) return qd_unread_state(errno);
    state = read_fields(path, version, record);
  }
  if (state != object_state::sound) return state;
  if (version < wide_counts_version) {
    state = upgrade_file(path, record);
  } else if (is_old_descriptor(version)) {
    state = qd_file_descriptor_write(path, record);
    if (qd_needs_report(state)) qu_message(file_corrupted, path);
  }
  if (state != object_state::sound) return state;
  if (record.organisation == ORG_GRID) qd_grid_compute(record.grid);
  // In memory only: the disk keeps what it had.
  if (record.dimension == 2) {
    record.grid.nz = 1;
    record.grid.dz = 0;
    record.grid.z0 = 0;
  }
  return object_state::sound;
}

object_state qd_file_descriptor_write(const char* path, const qd_file_record& record) {
  qd_file_record fields = record;
  return qd_descriptor_write(path, move_file_fields, fields);
}

bool qd_file_descriptor_put(std::FILE* stream, const qd_file_record& record) {
  qd_file_record fields = record;
  return qd_descriptor_put(stream, move_file_fields, fields);
}

void qd_delete_derived_files(const char* file_path) {
  for (const char* name : {"RPD", "PTD"}) {
    path_text path;
    qu_path_join(path, {file_path, path_separator, name});
    std::remove(path);
  }
}

}  // namespace qrd
