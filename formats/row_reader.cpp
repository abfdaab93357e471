#include "formats/row_reader.h"

#include <algorithm>
#include <cstring>

#include "qrd/error.h"

namespace qrd::formats {

namespace {

constexpr std::size_t read_at_once = std::size_t{1} << 18;
// A row of more characters is a quote that has no end, or no table at all.
constexpr std::size_t longest_row = std::size_t{1} << 26;

bool is_blank(char character) {
  return character == ' ' || character == '\t';
}

// A quoted cell with each doubled quote made one; it lies in the reader's own buffer.
std::string_view with_single_quotes(std::string_view cell, char quote) {
  char* to = const_cast<char*>(cell.data());
  for (std::size_t i = 0; i < cell.size(); ++i) {
    *to++ = cell[i];
    if (cell[i] == quote) ++i;
  }
  return {cell.data(), static_cast<std::size_t>(to - cell.data())};
}

}  // namespace

row_reader::row_reader(input& from, cell_marks marks, std::size_t lines_before)
    : from_(from), marks_(std::move(marks)), buffer_(read_at_once), begin_(buffer_.data()), end_(begin_) {
  ends_cell_[static_cast<unsigned char>(marks_.line_end)] = true;
  ends_cell_[static_cast<unsigned char>(marks_.separator)] = true;
  if (marks_.separator == blanks_separate) ends_cell_[static_cast<unsigned char>('\t')] = true;
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  while (static_cast<std::size_t>(end_ - begin_) < byte_order_mark.size() && refill()) continue;
  if (std::string_view(begin_, end_).starts_with(byte_order_mark)) begin_ += byte_order_mark.size();
  while (lines_before-- > 0 && (begin_ != end_ || refill())) skip_line();
}

bool row_reader::next(std::vector<std::string_view>& cells, bool blank_lines) {
  for (;;) {
    if (begin_ == end_ && !refill()) return false;
    if (!marks_.comment.empty()) {
      while (static_cast<std::size_t>(end_ - begin_) < marks_.comment.size() && refill()) continue;
      if (std::string_view(begin_, end_).starts_with(marks_.comment)) {
        skip_line();
        continue;
      }
    }
    line_ = next_line_;
    while (read_row(cells) == reading::more_needed) {
      next_line_ = line_;
      refill();
    }
    if (cells.empty() || (!blank_lines && cells.size() == 1 && cells[0].empty())) continue;
    for (const std::size_t i : doubled_) cells[i] = with_single_quotes(cells[i], marks_.quote);
    return true;
  }
}

// Rows are read from their beginning again when more of them has come.
row_reader::reading row_reader::read_row(std::vector<std::string_view>& cells) {
  cells.clear();
  doubled_.clear();
  const char* at = begin_;
  const bool by_blanks = marks_.separator == blanks_separate;
  for (;;) {
    if (by_blanks)
      while (at != end_ && is_blank(*at)) ++at;
    if (at != end_ && marks_.quote != 0 && *at == marks_.quote) {
      if (read_quoted(cells, at) == reading::more_needed) return reading::more_needed;
    } else {
      const char* cell = at;
      while (at != end_ && !ends_cell_[static_cast<unsigned char>(*at)]) ++at;
      if (at == end_ && !at_end_) return reading::more_needed;
      const char* cell_end = at;
      if ((at == end_ || *at == '\n') && cell_end != cell && cell_end[-1] == '\r') --cell_end;
      const bool nothing = cell == cell_end && by_blanks;
      if (!nothing) cells.emplace_back(cell, static_cast<std::size_t>(cell_end - cell));
    }
    if (at == end_ || *at == marks_.line_end) break;
    ++at;
  }
  if (at != end_) {
    ++at;
    ++next_line_;
  }
  begin_ = at;
  return reading::row;
}

row_reader::reading row_reader::read_quoted(std::vector<std::string_view>& cells, const char*& at) {
  const char* cell = ++at;
  for (;;) {
    const char* from = at;
    at = static_cast<const char*>(std::memchr(at, marks_.quote, static_cast<std::size_t>(end_ - at)));
    if (at == nullptr) {
      if (!at_end_) return reading::more_needed;
      fail(line_, "a quoted cell has no end");
    }
    next_line_ += static_cast<std::size_t>(std::count(from, at, marks_.line_end));
    if (at + 1 == end_ && !at_end_) return reading::more_needed;
    if (at + 1 == end_ || at[1] != marks_.quote) break;
    if (doubled_.empty() || doubled_.back() != cells.size()) doubled_.push_back(cells.size());
    at += 2;
  }
  cells.emplace_back(cell, static_cast<std::size_t>(at - cell));
  ++at;
  if (at != end_ && *at == '\r' && marks_.line_end == '\n') {
    if (at + 1 == end_ && !at_end_) return reading::more_needed;
    if (at + 1 == end_ || at[1] == '\n') ++at;
  }
  if (at == end_ && !at_end_) return reading::more_needed;
  if (at != end_ && !ends_cell_[static_cast<unsigned char>(*at)])
    fail(next_line_, "text behind a quoted cell");
  return reading::row;
}

// Moves what is left to the front and reads behind it. False at the end.
bool row_reader::refill() {
  if (at_end_) return false;
  const auto left = static_cast<std::size_t>(end_ - begin_);
  if (left > longest_row) fail(line_, "a row of more than " + std::to_string(longest_row >> 20) + " MB");
  std::memmove(buffer_.data(), begin_, left);
  if (buffer_.size() < left + read_at_once) buffer_.resize(std::max(2 * left, left + read_at_once));
  const std::size_t got = from_.read(buffer_.data() + left, buffer_.size() - left);
  begin_ = buffer_.data();
  end_ = begin_ + left + got;
  at_end_ = got == 0;
  return !at_end_;
}

void row_reader::skip_line() {
  for (;;) {
    const auto* found = static_cast<const char*>(
        std::memchr(begin_, marks_.line_end, static_cast<std::size_t>(end_ - begin_)));
    begin_ = found != nullptr ? found + 1 : end_;
    if (found != nullptr || !refill()) break;
  }
  ++next_line_;
}

std::string row_reader::where(std::size_t line) const {
  return line_text(from_.name(), line);
}

void row_reader::fail(std::size_t line, const std::string& text) const {
  throw client::error(where(line) + ": " + text);
}

std::string line_text(const std::string& name, std::size_t line) {
  return name + (name.empty() ? "line " : ", line ") + std::to_string(line);
}

}  // namespace qrd::formats
