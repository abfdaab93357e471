// A file that is made whole: written beside its place under a name of its own, and renamed at the end.
#pragma once

#include <cstdio>
#include <string>

namespace qrd::command {

enum class existing_file { kept, replaced };

class output_file {
 public:
  // "-" is the standard output. A device or pipe is written as it is. An `error` if the file can't be
  // written, or if it is there and is to be kept.
  output_file(std::string path, existing_file what_is_there);
  output_file(const output_file&) = delete;
  output_file& operator=(const output_file&) = delete;
  // Without finish() nothing is left.
  ~output_file();

  std::FILE* stream() const { return stream_; }
  // Puts the file in its place. A failure is an `error`, and so is a file that has come there meanwhile and
  // is to be kept.
  void finish();

 private:
  [[noreturn]] void fail(int number) const;

  std::string path_;
  std::string working_path_;  // empty: written in its place
  existing_file what_is_there_;
  std::FILE* stream_ = nullptr;
};

}  // namespace qrd::command
