#include "command/csv.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "qrd/error.h"
#include "qrd/names.h"

namespace qrd::command {

namespace {

constexpr std::size_t written_at_once = 64 * 1024;

std::string line_text(const std::string& source, std::size_t line) {
  return source + (source.empty() ? "line " : ", line ") + std::to_string(line);
}

// Walks a text row by row. A quoted cell is put together in place: it never grows.
class scanner {
 public:
  scanner(char* begin, char* end, char separator, const std::string& source)
      : position_(begin), end_(end), separator_(separator), source_(source) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (std::string_view(begin, end).starts_with(byte_order_mark)) position_ += byte_order_mark.size();
  }

  bool at_end() const { return position_ == end_; }
  std::size_t line() const { return row_line_; }

  void read_row(std::vector<std::string_view>& cells) {
    cells.clear();
    row_line_ = line_;
    for (;;) {
      cells.push_back(at_end() || *position_ != '"' ? plain_cell() : quoted_cell());
      if (at_end()) return;
      if (*position_ == separator_) {
        ++position_;
        continue;
      }
      if (*position_ == '\r') ++position_;
      if (!at_end() && *position_ == '\n') ++position_;
      ++line_;
      return;
    }
  }

 private:
  bool at_cell_end() const {
    return at_end() || *position_ == separator_ || *position_ == '\n' ||
           (*position_ == '\r' && (position_ + 1 == end_ || position_[1] == '\n'));
  }

  std::string_view plain_cell() {
    const char* begin = position_;
    while (!at_cell_end()) ++position_;
    return {begin, position_};
  }

  std::string_view quoted_cell() {
    char* target = ++position_;
    const char* begin = target;
    for (;;) {
      if (at_end()) throw client::error(line_text(source_, row_line_) + ": a quoted cell has no end");
      if (*position_ == '"') {
        ++position_;
        if (at_end() || *position_ != '"') break;
      } else if (*position_ == '\n') {
        ++line_;
      }
      *target++ = *position_++;
    }
    if (!at_cell_end()) throw client::error(line_text(source_, line_) + ": text behind a quoted cell");
    return {begin, target};
  }

  char* position_;
  char* end_;
  char separator_;
  const std::string& source_;
  std::size_t line_ = 1;
  std::size_t row_line_ = 1;
};

}  // namespace

csv_table::csv_table(std::string text, char separator, std::string source)
    : text_(text.begin(), text.end()), source_(std::move(source)) {
  text = {};
  scanner scan(text_.data(), text_.data() + text_.size(), separator, source_);
  std::vector<std::string_view> cells;
  if (scan.at_end())
    throw client::error(source_ + (source_.empty() ? "" : ": ") +
                        "the table is empty: it needs a first line with the names of the columns");
  scan.read_row(cells);
  names_.assign(cells.begin(), cells.end());
  columns_.resize(names_.size());

  while (!scan.at_end()) {
    scan.read_row(cells);
    const bool blank = cells.size() == 1 && cells[0].empty();
    if (blank && names_.size() > 1) continue;
    if (cells.size() != names_.size())
      throw client::error(line_text(source_, scan.line()) + " has " + std::to_string(cells.size()) +
                          " cells where the first line names " + std::to_string(names_.size()));
    for (std::size_t i = 0; i < cells.size(); ++i) columns_[i].push_back(cells[i]);
    lines_.push_back(scan.line());
    ++rows_;
  }
}

std::string csv_table::where(std::size_t row) const {
  return line_text(source_, lines_[row]);
}

csv_table read_table(const std::string& path) {
  return csv_table(read_text(path), ',', path == "-" ? std::string() : path);
}

bool csv_table::has(std::string_view name) const {
  return std::find(names_.begin(), names_.end(), name) != names_.end();
}

std::size_t csv_table::index_of(std::string_view name) const {
  const auto found = std::find(names_.begin(), names_.end(), name);
  if (found == names_.end()) {
    std::string known;
    for (const std::string& one : names_) known += (known.empty() ? "" : ", ") + one;
    throw client::error("there is no column \"" + std::string(name) + "\"" +
                        client::did_you_mean(name, names_) + "; the columns are: " + known);
  }
  if (std::find(found + 1, names_.end(), name) != names_.end())
    throw client::error("there are two columns \"" + std::string(name) + "\"");
  return static_cast<std::size_t>(found - names_.begin());
}

std::string read_text(const std::string& path) {
  const bool standard_input = path == "-";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(
      standard_input ? nullptr : std::fopen(path.c_str(), "rbe"), std::fclose);
  if (!standard_input && !opened) throw client::error("cannot open " + path + ": " + std::strerror(errno));
  std::FILE* stream = standard_input ? stdin : opened.get();
  constexpr std::size_t block = std::size_t{1} << 20;
  std::string text;
  for (;;) {
    const std::size_t held = text.size();
    text.resize(held + block);
    const std::size_t got = std::fread(text.data() + held, 1, block, stream);
    text.resize(held + got);
    if (got < block) break;
  }
  if (std::ferror(stream) != 0) throw client::error("cannot read " + path + ": " + std::strerror(errno));
  return text;
}

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
