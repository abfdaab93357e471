// The descriptor of a catalogue directory, DIRE.<n>/DESCR; the same layout in all versions.
//
//   xint         version, 1100
//   xstring(50)  name
#include "disk/qd_directory_descriptor.h"

#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

// A name of 50 characters, which the format allows, loses its last one in memory.
bool move_directory_fields(XDR* xdr, std::int64_t* version, name_text& name) {
  return qu_xdr_int(xdr, version) && *version >= oldest_descriptor_version &&
         qu_xdr_text(xdr, name, descriptor_name_limit);
}

}  // namespace

object_state qd_directory_descriptor_read(const char* path, name_text& name) {
  name[0] = '\0';
  descriptor_reader descriptor(path);
  if (descriptor.state() != object_state::sound) return descriptor.state();
  path_text descriptor_path;
  qd_descriptor_path(path, descriptor_path);

  std::int64_t version = 0;
  if (!move_directory_fields(descriptor.get(), &version, name)) {
    const object_state state = qd_misread_state(path);
    if (qd_needs_report(state)) qu_message("Directory descriptor corrupted:\n%s", descriptor_path);
    return state;
  }
  if (!is_old_descriptor(version)) return object_state::sound;
  const object_state written = qd_directory_descriptor_write(path, name);
  if (qd_needs_report(written)) qu_message("Can't write new directory descriptor:\n%s", descriptor_path);
  return written;
}

object_state qd_directory_descriptor_write(const char* path, const char* name) {
  name_text text;
  qu_path_join(text, {name});
  return qd_descriptor_write(path, move_directory_fields, text);
}

}  // namespace qrd
