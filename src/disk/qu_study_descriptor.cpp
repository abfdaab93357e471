// The descriptor of a study, the XDR file DESCR of its folder.
//
//   xint  descriptor version  520 when written
//   xint  unit_flag           non-zero: lengths have units
//   xint  study_version       from 411 on; 40000 before
//   xint  is_64bit            from 520 on; 0 before
#include "disk/qu_study_descriptor.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "disk/store_state.h"
#include "util/qu_file.h"
#include "util/qu_file_replace.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_string.h"
#include "util/qu_xdr.h"

namespace qrd {

namespace {

constexpr std::int64_t study_version_since = 411;
constexpr std::int64_t is_64bit_since = 520;
constexpr std::int64_t version_before_411 = 40000;
constexpr char server_program_name[] = "QRDserver";

void descriptor_path(const char* study, path_text& path) {
  qu_path_join(path, {study, path_separator, "DESCR"});
}

bool code_descriptor(std::FILE* file, xdr_op direction, std::int64_t version, study_record& record) {
  xdr_stream stream(file, direction);
  if (!stream) return false;
  XDR* xdr = stream.get();
  if (qu_xdr_int(xdr, &version) == 0 || qu_xdr_int(xdr, &record.unit_flag) == 0) return false;
  if (version >= study_version_since && qu_xdr_int(xdr, &record.study_version) == 0) return false;
  return version < is_64bit_since || qu_xdr_int(xdr, &record.is_64bit) != 0;
}

// Puts the descriptor in place by one of the two ways of a replaced_file.
bool write_descriptor(const char* study, study_record& record, bool (replaced_file::*put_in_place)()) {
  path_text path;
  descriptor_path(study, path);
  replaced_file file(path, write_binary);
  if (!file) return false;
  record.study_version = PROGRAM_VERSION;
  return code_descriptor(file.get(), XDR_ENCODE, STUDY_DESCRIPTOR_VERSION, record) && (file.*put_in_place)();
}

// The descriptor, made anew if the study has lost it. What is there by now, or can't be opened, is not
// replaced. Where there is no stream errno tells why: since a missing one can be made in any folder that is
// there, ENOENT is that of the folder.
file_stream open_descriptor(const char* study, study_record* record) {
  path_text path;
  descriptor_path(study, path);
  constexpr int looks = 3;
  for (int look = 0; look < looks; ++look) {
    file_stream file(qu_file_open_n(path, read_binary));
    if (file || errno != ENOENT) return file;
    record->unit_flag = 1;
    record->is_64bit = 0;
    if (write_descriptor(study, *record, &replaced_file::commit_new) || errno == EEXIST) continue;
    const int reason = errno;
    // A link that leads nowhere is there, and never opens.
    struct stat status;
    errno = lstat(path, &status) == 0 && S_ISLNK(status.st_mode) ? ELOOP : reason;
    return file;
  }
  errno = EEXIST;
  return file_stream();
}

}  // namespace

void qu_study_descriptor_write(const char* path, study_record* record) {
  if (qu_study_descriptor_write_n(path, record)) return;
  // Where it can't be written, opening it tells why, and ends the process.
  path_text descriptor;
  descriptor_path(path, descriptor);
  const file_stream file(qu_file_open_f(descriptor, update_binary));
}

bool qu_study_descriptor_write_n(const char* path, study_record* record) {
  return write_descriptor(path, *record, &replaced_file::commit);
}

study_fitness qu_study_descriptor_read(bool report, const char* name, const char* path,
                                       study_record* record) {
  file_stream file = open_descriptor(path, record);
  if (!file) return qu_is_gone(errno) ? study_fitness::gone : study_fitness::unreadable;

  record->study_version = version_before_411;
  record->is_64bit = 0;
  if (!code_descriptor(file.get(), XDR_DECODE, 0, *record)) {
    qu_message("Study descriptor corrupted:\n%s\n", path);
    return study_fitness::unreadable;
  }
  store.is_64bit = record->is_64bit;

  if (std::strcmp(store.program_name, server_program_name) == 0) {
    if (record->study_version != PROGRAM_VERSION) return study_fitness::other_version;
  } else if (record->study_version > PROGRAM_VERSION) {
    version_parts version = parts_of_version(record->study_version);
    if (report)
      qu_message("You cannot run %s %s on Velmar %d.%d.%d study (%s)", store.program_name,
                 store.program_version_text, static_cast<int>(version.major), static_cast<int>(version.minor),
                 static_cast<int>(version.patch), name);
    return study_fitness::other_version;
  }
  return file.close() ? study_fitness::usable : study_fitness::unreadable;
}

void qu_study_mark_64bit() {
  if (store.is_64bit != 0) return;
  store.is_64bit = 1;
  study_record record;
  const folder_lock lock(store.study_path);
  if (!lock ||
      qu_study_descriptor_read(false, store.study_name, store.study_path, &record) != study_fitness::usable) {
    // What is unknown is not written over.
    qu_message("Failed to read study descriptor %s%sDESCR for 64-bit flag update", store.study_path,
               path_separator);
    return;
  }
  record.is_64bit = 1;
  if (!qu_study_descriptor_write_n(store.study_path, &record))
    qu_message("Failed to write study descriptor %s%sDESCR for 64-bit flag update", store.study_path,
               path_separator);
}

}  // namespace qrd
