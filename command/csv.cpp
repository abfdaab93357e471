#include "command/csv.h"

#include <cerrno>
#include <cstring>

#include "qrd/error.h"

namespace qrd::command {

namespace {

constexpr std::size_t written_at_once = 64 * 1024;

}  // namespace

void csv_writer::cell(std::string_view text) {
  if (cells_++ > 0) buffer_ += ',';
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    buffer_ += text;
    return;
  }
  buffer_ += '"';
  for (char character : text) {
    if (character == '"') buffer_ += '"';
    buffer_ += character;
  }
  buffer_ += '"';
}

void csv_writer::end_row() {
  // A row of one empty cell would be a blank line, which many readers drop.
  if (cells_ == 1 && buffer_.size() == row_begin_) buffer_ += "\"\"";
  buffer_ += '\n';
  cells_ = 0;
  if (buffer_.size() >= written_at_once) {
    std::fwrite(buffer_.data(), 1, buffer_.size(), stream_);
    buffer_.clear();
  }
  row_begin_ = buffer_.size();
}

void csv_writer::flush() {
  std::fwrite(buffer_.data(), 1, buffer_.size(), stream_);
  buffer_.clear();
  row_begin_ = 0;
  if (std::fflush(stream_) != 0 || std::ferror(stream_) != 0)
    throw client::error(std::string("cannot write the table: ") + std::strerror(errno));
}

}  // namespace qrd::command
