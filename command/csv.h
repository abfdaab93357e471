// Comma-separated values (RFC 4180): cells in double quotes may hold commas, line ends and doubled quotes;
// lines end with LF. Tables are read in formats/.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace qrd::command {

// Writes rows to a stream that it does not own, through a buffer of its own.
class csv_writer {
 public:
  explicit csv_writer(std::FILE* stream) : stream_(stream) {}
  csv_writer(const csv_writer&) = delete;
  csv_writer& operator=(const csv_writer&) = delete;

  void cell(std::string_view text);
  void end_row();
  // Everything is with the system after it; a failure is an `error`.
  void flush();

 private:
  std::FILE* stream_;
  std::string buffer_;
  std::size_t cells_ = 0;
  std::size_t row_begin_ = 0;
};

}  // namespace qrd::command
