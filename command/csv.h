// Comma-separated values (RFC 4180): cells in double quotes may hold commas, line ends and doubled quotes;
// lines end with LF or CR LF. The first row names the columns.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace qrd::command {

// A whole table. The cells are views into the text that the table owns.
class csv_table {
 public:
  // A row with another number of cells than the header is an `error` that tells its line, and so is a quote
  // that is not closed. Blank lines are passed over, but in a table of one column they are empty cells.
  explicit csv_table(std::string text, char separator = ',', std::string source = {});
  csv_table(csv_table&&) = default;
  csv_table& operator=(csv_table&&) = delete;

  std::size_t rows() const { return rows_; }
  // Where a row begins in the file, from 1.
  std::size_t line(std::size_t row) const { return lines_[row]; }
  // The same for a message: "surveys.csv, line 12", or "line 12" of a table without a name.
  std::string where(std::size_t row) const;
  const std::vector<std::string>& names() const { return names_; }
  bool has(std::string_view name) const;
  // An `error` that tells the names there are if this one is not there, or if it is there twice.
  std::size_t index_of(std::string_view name) const;
  const std::vector<std::string_view>& column(std::size_t index) const { return columns_[index]; }
  const std::vector<std::string_view>& column(std::string_view name) const {
    return columns_[index_of(name)];
  }

 private:
  std::vector<char> text_;
  std::vector<std::string> names_;
  std::vector<std::vector<std::string_view>> columns_;
  std::vector<std::size_t> lines_;
  std::string source_;
  std::size_t rows_ = 0;
};

// The table of a file, or of the standard input for "-".
csv_table read_table(const std::string& path);

// Reads a whole file, or the standard input for "-".
std::string read_text(const std::string& path);

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
