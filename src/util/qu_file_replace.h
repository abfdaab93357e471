// A file that is put in place whole: other processes see the old content or the new one, and a full
// disk leaves the old one.
#pragma once

#include <string>

#include "util/qu_file.h"

namespace qrd {

class replaced_file {
 public:
  // Opens a new file beside `path`, or nothing when that fails. `mode` is write_text or write_binary.
  replaced_file(const char* path, file_mode mode);
  replaced_file(const replaced_file&) = delete;
  replaced_file& operator=(const replaced_file&) = delete;
  // Without a commit the new file is removed and the old one stays.
  ~replaced_file();

  explicit operator bool() const { return static_cast<bool>(stream_); }
  std::FILE* get() const { return stream_.get(); }
  // True if the new content is in place.
  bool commit();

 private:
  std::string path_;
  std::string fresh_path_;
  file_stream stream_;
  bool pending_ = false;
};

}  // namespace qrd
