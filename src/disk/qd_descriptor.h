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

// What came of reading or writing a file of an object.
enum class [[nodiscard]] object_state{
    sound,      // it was read, or written
    gone,       // another server has taken it away: the errno of the failed call tells
    damaged,    // it is there, and nobody will ever understand it
    unreadable  // it can't be read or written now: an error of the disk, no handles, no room
};
// True if a person has to be told: what has gone is no failure.
inline bool qd_needs_report(object_state state) {
  return state == object_state::damaged || state == object_state::unreadable;
}
// After a call that failed with this errno: of a reader, and of a writer, to whom nothing is damaged.
object_state qd_unread_state(int reason);
object_state qd_unwritten_state(int reason);
// Of an object that was read and not understood: gone, which needs no report, or damaged.
object_state qd_misread_state(const char* object_path);

// True if another server has deleted a folder. One that can't be looked at counts as there.
bool qd_folder_gone(const char* path);

// The path of an object's descriptor.
void qd_descriptor_path(const char* object_path, path_text& path);

// A file in the folder of an object, or no stream if it is gone. One that can't be opened otherwise is
// fatal. May end the process.
file_stream qd_object_file_open(const char* path, file_mode mode);

// Puts a binary file whole into the folder of an object: other processes read what stood there before, or
// the new content. Unless it is sound `write(xdr)` or the disk has failed, and the old file stays.
object_state qd_object_file_replace(const char* path, const std::function<bool(XDR*)>& write);

// The descriptor of an object, read whole: a look-up reads many. What can't be read and isn't gone is told on
// the console.
class descriptor_reader {
 public:
  explicit descriptor_reader(const char* object_path);
  descriptor_reader(const descriptor_reader&) = delete;
  descriptor_reader& operator=(const descriptor_reader&) = delete;
  // Whether it could be read.
  object_state state() const { return state_; }
  // REQUIRES: it is sound.
  XDR* get() { return xdr_->get(); }

 private:
  object_state state_ = object_state::sound;
  alignas(8) char bytes_[4096];  // more than any version's fields can take
  std::optional<xdr_memory> xdr_;
};

// Writes the descriptor of an object in the current version; `move_fields(xdr, &version, record)` moves all
// its fields.
template <typename MoveFields, typename Record>
object_state qd_descriptor_write(const char* object_path, MoveFields move_fields, Record& record) {
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
