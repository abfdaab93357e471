// Companion files: what hangs on a catalogue file lies beside its descriptor, in its folder.
#pragma once

#include <cstdint>
#include <cstdio>

#include "disk/qd_records.h"
#include "util/qu_constants.h"
#include "util/qu_file.h"

namespace qrd {

// A file of the catalogue, found once for all that a request asks of it. What it has beside its descriptor is
// believed only where its folder is still its own.
struct found_file {
  const char* directory;
  const char* name;
  path_text folder = "";
  qd_file_record record = {};
};

// The path of a companion of that name.
void qd_companion_path(const found_file& file, const char* name, path_text& path);

// True if the folder is still that file's: its number may have gone to another one since it was looked up.
[[nodiscard]] bool qd_companion_folder_holds(const char* folder, const char* file);

// What came of reading the geometry in a companion.
enum class [[nodiscard]] geometry{
    read,
    no_file,  // no such directory, or no such file of points
    none,     // the file has no such companion
    damaged,
    unclear  // can't tell, or gone meanwhile
};

// Looks for a file by its names. Read if it is there.
geometry qd_find_geometry(found_file& file);
// Finds the file for what `qd_info_file` tells, and false as there.
[[nodiscard]] bool qd_info_file(found_file& file, qd_file_info& info);
// Length formats of its coordinates; those that it doesn't have, or has no more, are the distance format.
void qd_coordinates_formats(const found_file& file, qd_format_record& x, qd_format_record& y,
                            qd_format_record& z);

// A companion of a file that is read. Another server may put a new one in its place meanwhile: this is the
// one that was opened.
class companion_reader {
 public:
  enum class state {
    open,
    absent,     // none of that name, none that may be read, or the file has gone
    unreadable  // it can't be told whether it is sound
  };
  companion_reader(const char* path, const char* file);

  state opened() const { return state_; }
  // What one that is not open means for what is to be read from it.
  geometry unopened() const { return state_ == state::absent ? geometry::none : geometry::unclear; }
  // These are for an open one.
  std::FILE* stream() const { return stream_.get(); }
  std::int64_t bytes() const { return bytes_; }
  // Whether the disk gave all that was asked of it: what can't be understood then is damaged.
  bool is_whole() const { return std::ferror(stream_.get()) == 0; }
  // Moves a damaged one out of the tree, where it stays for its owner.
  void set_aside();

 private:
  path_text path_ = "";
  file_stream stream_;
  state state_ = state::unreadable;
  std::int64_t bytes_ = 0;
};

}  // namespace qrd
