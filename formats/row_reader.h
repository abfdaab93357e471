// The rows of a text table, one after the other, in memory that does not grow with the table.
//
// Cells in quotes may hold separators, line ends and doubled quotes (RFC 4180); lines end with LF, CR LF or
// CR.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/input.h"

namespace qrd::formats {

constexpr char blanks_separate = ' ';  // one or more blanks and tabs; those around a row count for nothing

// How the characters of a table make cells.
struct cell_marks {
  char separator = ',';
  char quote = '"';          // 0: none
  std::string comment = {};  // what a line begins with that is no row; empty: none
  char line_end = '\n';
};

class row_reader {
 public:
  // Reads on behind a mark of the byte order and as many lines.
  row_reader(input& from, cell_marks marks, std::size_t lines_before = 0);

  // False at the end. The cells stand until the next call. Without `blank_lines` a line without characters is
  // passed over. An `error` tells the line of a quoted cell that has no end, or has text behind it.
  bool next(std::vector<std::string_view>& cells, bool blank_lines = false);
  // The line in which the last row begins, from 1, and the one that follows the row.
  std::size_t line() const { return line_; }
  std::size_t next_line() const { return next_line_; }

 private:
  enum class reading { row, more_needed };

  reading read_row(std::vector<std::string_view>& cells);
  reading read_quoted(std::vector<std::string_view>& cells, const char*& at);
  bool refill();
  void skip_line();
  std::string where(std::size_t line) const;
  [[noreturn]] void fail(std::size_t line, const std::string& text) const;

  input& from_;
  cell_marks marks_;
  bool ends_cell_[256] = {};
  std::vector<char> buffer_;
  const char* begin_;  // of what has not been handed out
  const char* end_;
  bool at_end_ = false;
  std::size_t line_ = 1;
  std::size_t next_line_ = 1;
  std::vector<std::size_t> doubled_;  // cells with doubled quotes
};

// "surveys.csv, line 12", or "line 12" of what has no name.
std::string line_text(const std::string& name, std::size_t line);

}  // namespace qrd::formats
