#include "formats/text_table.h"

#include <algorithm>
#include <charconv>

#include "formats/numbers.h"
#include "qrd/blanks.h"
#include "qrd/error.h"
#include "qrd/names.h"
#include "qrd/utf_8.h"
#include "qrd/wire.h"

namespace qrd::formats {

namespace {

using row = std::vector<std::string>;

// What is looked at to find out how a table is made.
constexpr std::size_t rows_looked_at = 100;
constexpr std::size_t bytes_looked_at = std::size_t{1} << 16;

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

std::string_view first_line(std::string_view text, char line_end) {
  std::string_view line = text.substr(0, text.find(line_end));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::string_view without_blanks_and_tabs(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool is_number_or_blank(std::string_view cell) {
  return without_blanks_and_tabs(cell).empty() || look_of_number(cell) != number_look::none;
}

bool all_numbers(const row& cells) {
  return std::all_of(cells.begin(), cells.end(), is_number_or_blank);
}

// The first rows, as those marks make them; fewer where a quote is wrong.
std::vector<row> first_rows(input& from, const cell_marks& marks, std::size_t lines_before,
                            std::size_t most) {
  std::vector<row> rows;
  from.rewind();
  try {
    row_reader reader(from, marks, lines_before);
    std::vector<std::string_view> cells;
    while (rows.size() < most && reader.next(cells)) rows.emplace_back(cells.begin(), cells.end());
  } catch (const client::error&) {
    // It is told when the table is read.
  }
  return rows;
}

// How well a separator makes a table of the first rows.
struct fit {
  bool is_table = false;  // all rows have as many cells, and more than one
  double numbers = 0;     // the share of cells that are numbers or blank
  std::size_t width = 0;
};

fit fit_of(const std::vector<row>& rows, bool by_blanks) {
  fit found;
  if (rows.empty() || rows[0].size() < 2) return found;
  found.width = rows[0].size();
  std::size_t cells = 0, numbers = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].size() != found.width) return found;
    if (i == 0 && rows.size() > 1) continue;
    cells += rows[i].size();
    numbers += static_cast<std::size_t>(std::count_if(rows[i].begin(), rows[i].end(), is_number_or_blank));
  }
  found.numbers = static_cast<double>(numbers) / static_cast<double>(cells);
  // Words with blanks between them are sentences more often than columns.
  found.is_table = !by_blanks || 2 * numbers >= cells;
  return found;
}

// A name as it is compared with another one where case, blanks and "_" don't matter.
std::string plain_name(std::string_view name) {
  std::string plain;
  for (const char character : name)
    if (character != ' ' && character != '\t' && character != '_')
      plain += character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
  return plain;
}

// "depth [ft]" as a name and a unit. What stands in the brackets of a macro variable's column is a number.
std::pair<std::string, std::string> split_unit(std::string_view title) {
  title = without_blanks_and_tabs(title);
  const std::size_t open = title.rfind(" [");
  if (!title.ends_with(']') || open == std::string_view::npos || open == 0) return {std::string(title), {}};
  const std::string_view unit = title.substr(open + 2, title.size() - open - 3);
  if (unit.empty() || unit.size() > client::max_unit ||
      unit.find_first_not_of("0123456789") == std::string_view::npos)
    return {std::string(title), {}};
  return {std::string(without_blanks_and_tabs(title.substr(0, open))), std::string(unit)};
}

std::string shown_separator(char separator) {
  if (separator == '\t') return "tabs";
  if (separator == blanks_separate) return "blanks";
  return std::string("\"") + separator + "\"";
}

bool is_ascii(std::string_view text) {
  return std::none_of(text.begin(), text.end(),
                      [](char one) { return static_cast<unsigned char>(one) >= 0x80; });
}

}  // namespace

// The first characters of the file, without a mark of the byte order.
struct text_table::beginning {
  std::string text;
};

text_table::text_table(const std::string& path, const table_wishes& wishes)
    : text_table(input(path), wishes) {}

text_table::text_table(input from, const table_wishes& wishes)
    : from_(std::move(from)), decimal_comma_(wishes.decimal_comma), encoding_(wishes.encoding) {
  find_layout(wishes);
}

void text_table::find_layout(const table_wishes& wishes) {
  const std::string called = from_.name().empty() ? "" : from_.name() + ": ";
  beginning start;
  start.text.resize(bytes_looked_at);
  std::size_t held = 0;
  for (std::size_t got = 1; got > 0 && held < bytes_looked_at; held += got)
    got = from_.read(start.text.data() + held, bytes_looked_at - held);
  start.text.resize(held);
  if (start.text.starts_with("\xFF\xFE") || start.text.starts_with("\xFE\xFF"))
    throw client::error(called + "the table is in UTF-16: store it in UTF-8");
  if (start.text.find('\0') != std::string::npos) throw client::error(called + "this is not a text");
  if (start.text.starts_with(byte_order_mark)) {
    start.text.erase(0, byte_order_mark.size());
    if (!encoding_) encoding_ = text_encoding::utf_8;
  }
  if (start.text.empty())
    throw client::error(called + "the table is empty: it needs a first line with the names of the columns");
  if (start.text.find('\n') == std::string::npos && start.text.find('\r') + 1 < start.text.size())
    marks_.line_end = '\r';

  const bool open = !wishes.separator && !wishes.names && !wishes.comment;
  if (open && find_geoeas(start)) return;
  find_separator(start, wishes);
  find_names(start, wishes);
}

// A title, the number of the columns, a line for each name, and rows of numbers.
bool text_table::find_geoeas(const beginning& start) {
  std::vector<std::string_view> lines;
  for (std::string_view left = start.text; !left.empty();) {
    const std::size_t end = left.find(marks_.line_end);
    lines.push_back(without_blanks_and_tabs(first_line(left, marks_.line_end)));
    left.remove_prefix(end == std::string_view::npos ? left.size() : end + 1);
  }
  if (lines.size() < 3) return false;
  std::size_t count = 0;
  const std::string_view told = lines[1];
  const auto [end, problem] = std::from_chars(told.data(), told.data() + told.size(), count);
  if (problem != std::errc() || count < 1 || count > lines.size() - 2) return false;
  // Behind the number some programs tell the nodes of a grid.
  const std::string_view behind(end, told.data() + told.size());
  if (!behind.empty() && behind.find_first_not_of("0123456789 \t.-+eE") != std::string_view::npos)
    return false;
  if (!behind.empty() && behind[0] != ' ' && behind[0] != '\t') return false;
  const std::vector<std::string> names(lines.begin() + 2,
                                       lines.begin() + 2 + static_cast<std::ptrdiff_t>(count));
  if (std::any_of(names.begin(), names.end(), is_number_or_blank)) return false;
  const cell_marks marks{blanks_separate, 0, "", marks_.line_end};
  const auto rows = first_rows(from_, marks, count + 2, rows_looked_at);
  const bool are_rows = std::all_of(rows.begin(), rows.end(),
                                    [&](const row& one) { return one.size() == count && all_numbers(one); });
  if (!are_rows || rows.empty()) return false;
  kind_ = table_kind::geoeas;
  marks_ = marks;
  lines_before_ = count + 2;
  set_names(names);
  return true;
}

void text_table::find_separator(const beginning& start, const table_wishes& wishes) {
  const std::string_view line = first_line(start.text, marks_.line_end);
  if (wishes.quote) marks_.quote = *wishes.quote;
  if (wishes.comment) {
    marks_.comment = *wishes.comment;
  } else {
    for (const std::string_view mark : {"#", "//", "!", "%"})
      if (line.starts_with(mark)) marks_.comment = mark;
  }
  if (wishes.separator) {
    marks_.separator = *wishes.separator;
  } else if (line.size() == 5 && line.starts_with("sep=")) {
    marks_.separator = line[4];
    lines_before_ = 1;
    return;
  }
  std::vector<cell_marks> tried;
  for (const char quote : {'"', '\''}) {
    if (wishes.quote && quote != '"') continue;
    for (const char separator : {',', ';', '\t', '|', blanks_separate}) {
      if (wishes.separator && separator != ',') continue;
      cell_marks marks = marks_;
      if (!wishes.separator) marks.separator = separator;
      if (!wishes.quote) marks.quote = quote;
      tried.push_back(marks);
    }
  }
  fit best;
  std::size_t most_cells = 1;
  std::optional<cell_marks> found;
  for (const cell_marks& marks : tried) {
    // An apostrophe quotes nothing unless it does so from the first character of a cell to the last one.
    if (marks.quote == '\'' && start.text.find("'") == std::string::npos) continue;
    const auto rows = first_rows(from_, marks, 0, rows_looked_at);
    const fit one = fit_of(rows, marks.separator == blanks_separate);
    const bool better = one.is_table && (!best.is_table || one.numbers > best.numbers + 1e-9 ||
                                         (one.numbers > best.numbers - 1e-9 && one.width > best.width));
    if (better) {
      best = one;
      found = marks;
    } else if (!best.is_table && !rows.empty() && rows[0].size() > most_cells &&
               marks.separator != blanks_separate && marks.quote == tried[0].quote) {
      most_cells = rows[0].size();
      found = marks;
    }
  }
  if (found) marks_ = *found;
  // Comments below the names: what begins like one and is no row.
  if (!wishes.comment && marks_.comment.empty() && best.width < 2 &&
      start.text.find("\n#") != std::string::npos) {
    table_wishes again = wishes;
    again.comment = "#";
    find_separator(start, again);
  }
}

void text_table::find_names(const beginning& start, const table_wishes& wishes) {
  const auto rows = first_rows(from_, marks_, lines_before_, 2);
  if (rows.empty())
    throw client::error(line_text(from_.name(), 1) + ": there are no rows, and no names of columns");
  const bool numbers_only = all_numbers(rows[0]);
  // A comment above the first row may hold the names.
  row commented;
  if (!marks_.comment.empty() && !wishes.names) {
    std::string_view last;
    for (std::string_view left = start.text; left.starts_with(marks_.comment);) {
      last = first_line(left, marks_.line_end).substr(marks_.comment.size());
      const std::size_t end = left.find(marks_.line_end);
      left.remove_prefix(end == std::string_view::npos ? left.size() : end + 1);
    }
    input line = input::of_text(without_blanks_and_tabs(last));
    const auto cells = first_rows(line, {marks_.separator, marks_.quote, "", marks_.line_end}, 0, 1);
    if (!cells.empty() && cells[0].size() == rows[0].size() && cells[0].size() > 1) commented = cells[0];
    const auto is_name = [](const std::string& cell) { return look_of_number(cell) == number_look::none; };
    const bool values =
        std::any_of(rows[0].begin(), rows[0].end(), [&](const auto& cell) { return !is_name(cell); });
    if (!std::all_of(commented.begin(), commented.end(), is_name) || !values) commented.clear();
  }
  if (!commented.empty()) {
    set_names(commented);
    return;
  }
  if (!wishes.names.value_or(!numbers_only)) {
    kind_ = table_kind::xyz;
    row names;
    for (std::size_t i = 0; i < rows[0].size(); ++i)
      names.push_back(i < 3 ? std::string(1, static_cast<char>('x' + i)) : "column " + std::to_string(i + 1));
    set_names(names);
    return;
  }
  from_.rewind();
  row_reader reader(from_, marks_, lines_before_);
  std::vector<std::string_view> cells;
  reader.next(cells);
  lines_before_ = reader.next_line() - 1;
  set_names({cells.begin(), cells.end()});
}

void text_table::set_names(std::vector<std::string> names) {
  for (const std::string& title : names) {
    auto [name, unit] = split_unit(text_of(title, lines_before_));
    names_.push_back(std::move(name));
    units_.push_back(std::move(unit));
  }
}

std::vector<std::string> text_table::findings() const {
  std::vector<std::string> told;
  if (kind_ == table_kind::geoeas) told.emplace_back("a GSLIB (GeoEAS) table");
  if (kind_ == table_kind::xyz) told.emplace_back("no names in the first row");
  if (from_.is_packed()) told.emplace_back("unpacked from gzip");
  if (kind_ != table_kind::geoeas && marks_.separator != ',')
    told.push_back("separated by " + shown_separator(marks_.separator));
  if (marks_.quote == '\'') told.emplace_back("quotes '");
  if (!marks_.comment.empty()) told.push_back("comments begin with " + marks_.comment);
  if (decimal_comma()) told.emplace_back("decimal commas");
  if (encoding_ == text_encoding::latin_1) told.emplace_back("texts in Latin-1");
  return told;
}

std::optional<std::size_t> text_table::find(std::string_view wanted) const {
  const std::string name = split_unit(wanted).first;
  const auto twice = [&](const std::string& what) { return client::error("there are two columns " + what); };
  const auto found = std::find(names_.begin(), names_.end(), name);
  if (found != names_.end()) {
    if (std::find(found + 1, names_.end(), name) != names_.end()) throw twice("\"" + name + "\"");
    return static_cast<std::size_t>(found - names_.begin());
  }
  std::optional<std::size_t> near;
  for (std::size_t i = 0; i < names_.size(); ++i) {
    if (plain_name(names_[i]) != plain_name(name)) continue;
    if (near)
      throw twice("that \"" + name + "\" may mean: \"" + names_[*near] + "\" and \"" + names_[i] + "\"");
    near = i;
  }
  return near;
}

std::size_t text_table::index_of(std::string_view name) const {
  if (const auto found = find(name)) return *found;
  std::string known;
  for (const std::string& one : names_) known += (known.empty() ? "" : ", ") + one;
  throw client::error("there is no column \"" + std::string(name) + "\"" +
                      client::did_you_mean(name, names_) + "; the columns are: " + known);
}

void text_table::each_row(
    const std::function<bool(std::span<const std::string_view> cells, std::size_t line)>& take,
    const table_progress& progress) {
  constexpr std::size_t rows_between = 4096;
  from_.rewind();
  row_reader reader(from_, marks_, lines_before_);
  std::vector<std::string_view> cells;
  const bool blank_lines = names_.size() == 1 && kind_ == table_kind::csv;
  for (std::size_t rows = 0; reader.next(cells, blank_lines); ++rows) {
    if (progress && rows % rows_between == 0) progress(from_.position(), from_.size());
    if (cells.size() != names_.size())
      throw client::error(where(reader.line()) + " has " + std::to_string(cells.size()) +
                          (cells.size() == 1 ? " cell" : " cells") + " where " +
                          (kind_ == table_kind::csv ? "the first line names " : "others have ") +
                          std::to_string(names_.size()));
    if (!take(cells, reader.line())) break;
  }
}

bool text_table::is_number(std::string_view cell) {
  const number_look look = look_of_number(cell);
  if (look == number_look::none || look == number_look::whole) return look == number_look::whole;
  // Between commas a comma is a separator of thousands as often as of decimals: that nobody can tell.
  if (!decimal_comma_) decimal_comma_ = look == number_look::comma && marks_.separator != ',';
  return (look == number_look::comma) == *decimal_comma_;
}

std::size_t text_table::text_size(std::string_view cell, std::size_t line) {
  return is_ascii(cell) ? cell.size() : text_of(cell, line).size();
}

std::string text_table::text_of(std::string_view cell, std::size_t line) {
  if (is_ascii(cell)) return std::string(cell);
  const bool valid = client::is_utf_8(cell);
  if (!encoding_ && !valid && utf_8_seen_)
    throw client::error(where(line) + ": \"" + client::utf_8_of_latin_1(cell) +
                        "\" is not UTF-8, other texts are: --encoding tells which it is");
  if (!encoding_ && !valid) encoding_ = text_encoding::latin_1;
  if (encoding_ == text_encoding::latin_1) return client::utf_8_of_latin_1(cell);
  if (!valid) throw client::error(where(line) + ": \"" + client::utf_8_of_latin_1(cell) + "\" is not UTF-8");
  utf_8_seen_ = true;
  return std::string(cell);
}

}  // namespace qrd::formats
