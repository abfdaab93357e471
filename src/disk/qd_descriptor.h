// What the descriptor files "DESCR" of directories, files and variables have in common.
//
// A descriptor is one XDR record (RFC 4506) that begins with an xint, the version of its writer. Versions
// from 2 to 1099 are old: they are read, and rewritten at once. A later version than ours is taken as it
// stands if its fields can be read. Bytes behind the last field are nobody's business.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "disk/qd_records.h"
#include "util/qu_file.h"
#include "util/qu_xdr.h"

namespace qrd {

inline constexpr std::int64_t oldest_descriptor_version = 2;

// `version` is at least the oldest one.
inline bool is_old_descriptor(std::int64_t version) {
  return version < DESCRIPTOR_VERSION;
}

// What came of the last file of an object that was read or written.
enum class object_state {
  sound,
  gone,       // another server has taken it away: the errno of the failed call tells
  damaged,    // it is there, and nobody will ever understand it
  unreadable  // it can't be read or written now: an error of the disk, no handles, no room
};
object_state qd_object_state();
// True if the last file of an object that was read or written is no longer there.
bool qd_object_gone();
// Sets it after a call that failed with this errno: of a reader, which gives true if the object is gone, and
// of a writer, to whom nothing is damaged.
bool qd_object_failed(int reason);
void qd_object_unwritten(int reason);

// True if another server has deleted a folder. One that can't be looked at counts as there.
bool qd_folder_gone(const char* path);
// What was read of an object could not be understood, or an operation on its files has told why it failed:
// true if the object is gone, which needs no report.
bool qd_object_lost(const char* object_path);

// The path of an object's descriptor.
void qd_descriptor_path(const char* object_path, path_text& path);

// A file in the folder of an object. One that can't be opened ends the process, unless it is gone: then no
// stream, and qd_object_gone() tells so.
file_stream qd_object_file_open(const char* path, file_mode mode);

// Puts a binary file whole into the folder of an object: other processes read what stood there before, or
// the new content. False after a failure of `write(xdr)` or of the disk; the old file stays then. Never ends
// the process; qd_object_gone() tells if the folder is no more.
bool qd_object_file_replace(const char* path, const std::function<bool(XDR*)>& write);

// The descriptor of an object, read whole: a look-up reads many. Never ends the process; what can't be read
// and isn't gone is told on the console.
class descriptor_reader {
 public:
  explicit descriptor_reader(const char* object_path);
  descriptor_reader(const descriptor_reader&) = delete;
  descriptor_reader& operator=(const descriptor_reader&) = delete;
  // False if it could not be read; qd_object_state() tells why.
  explicit operator bool() const { return xdr_.has_value(); }
  XDR* get() { return xdr_->get(); }

 private:
  alignas(8) char bytes_[4096];  // more than any version's fields can take
  std::optional<xdr_memory> xdr_;
};

// Writes the descriptor of an object in the current version; `move_fields(xdr, &version, record)` moves all
// its fields. 1, or 0 as qd_object_file_replace.
template <typename MoveFields, typename Record>
int qd_descriptor_write(const char* object_path, MoveFields move_fields, Record& record) {
  path_text path;
  qd_descriptor_path(object_path, path);
  return qd_object_file_replace(path, [&](XDR* xdr) {
    std::int64_t version = DESCRIPTOR_VERSION;
    return move_fields(xdr, &version, record);
  });
}

// Writes the fields to an open file. Closing and syncing is left to its owner.
template <typename MoveFields, typename Record>
bool qd_descriptor_put(std::FILE* stream, MoveFields move_fields, Record& record) {
  std::int64_t version = DESCRIPTOR_VERSION;
  xdr_stream xdr(stream, XDR_ENCODE);
  return xdr && move_fields(xdr.get(), &version, record);
}

}  // namespace qrd
