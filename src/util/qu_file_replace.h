// The one way to make or to change a file that others may read: they see the old content or the new one,
// whole. It is written beside, under a working name, is on disk as far as the durability asks for it, and
// then takes its place by a rename. A failure leaves the old file. In a folder that nobody sees yet a new
// file has its own name from the start.
#pragma once

#include <string>

#include "util/qu_file.h"

namespace qrd {

// While one lives, nobody looks into the folder or takes what is in it for whole: it is in the making, under
// a working name and locked. Of several only the last one made counts.
class unseen_folder {
 public:
  explicit unseen_folder(const char* path);
  unseen_folder(const unseen_folder&) = delete;
  unseen_folder& operator=(const unseen_folder&) = delete;
  ~unseen_folder();

 private:
  path_text before_;
};

class replaced_file {
 public:
  // Opens a new file beside `path`, or nothing when that fails; errno then tells why. `mode` is write_text or
  // write_binary. Of a symbolic link the file it leads to is replaced; one that leads nowhere fails.
  // Where no file can be made in the folder, but the old file may be written, that takes the new content in
  // place at the commit; the old content is kept in a second file until that is done.
  replaced_file(const char* path, file_mode mode);
  replaced_file(const replaced_file&) = delete;
  replaced_file& operator=(const replaced_file&) = delete;
  // Without a commit the new file is removed and the old one stays.
  ~replaced_file();

  explicit operator bool() const { return static_cast<bool>(stream_); }
  std::FILE* get() const { return stream_.get(); }
  // True if the new content is in place.
  bool commit();
  // The same where nothing may be replaced: false with EEXIST when there is such a file by now.
  bool commit_new();

 private:
  bool open_beside(file_mode mode);
  bool open_unseen(file_mode mode);
  bool open_stream(int handle, file_mode mode);
  // Whether all that was written has reached the file.
  bool is_written();
  bool keep_unseen();
  // A second handle of the new file, whose stream is closed; -1 if something was not written.
  int finish_writing();
  bool write_in_place(int fresh);

  std::string path_;
  std::string folder_;
  std::string fresh_path_;  // empty once it is in place
  bool in_place_ = false;
  bool is_unseen_ = false;
  file_stream stream_;
};

}  // namespace qrd
