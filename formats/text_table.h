// Tables in text files: comma-separated values and their kin, GSLIB (GeoEAS) files, and XYZ files without
// names.
//
// What the user doesn't decide is found from the beginning of the file.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/input.h"
#include "formats/row_reader.h"

namespace qrd::formats {

enum class table_kind { csv, geoeas, xyz };
enum class text_encoding { utf_8, latin_1 };

struct table_wishes {
  std::optional<char> separator;  // blanks_separate for blanks and tabs
  std::optional<char> quote;      // 0: none
  std::optional<std::string> comment;
  std::optional<bool> names;  // whether the first row has the names of the columns
  std::optional<bool> decimal_comma;
  std::optional<text_encoding> encoding;
};

// Told while rows are read: bytes of the file, and all of them.
using table_progress = std::function<void(std::uint64_t done, std::uint64_t all)>;

class text_table {
 public:
  // An `error` if nothing of the file is a table.
  explicit text_table(const std::string& path, const table_wishes& wishes = {});
  text_table(input from, const table_wishes& wishes);

  table_kind kind() const { return kind_; }
  const cell_marks& marks() const { return marks_; }
  const std::vector<std::string>& names() const { return names_; }
  // What was found where it isn't the usual: separator, encoding and so on, each as one text.
  std::vector<std::string> findings() const;

  // The column of that name, or the only one that has it without regard to case, blanks and "_". An `error`
  // tells the names there are, and the near ones; find() gives nothing instead, but is an `error` too for
  // what two columns mean.
  std::size_t index_of(std::string_view name) const;
  std::optional<std::size_t> find(std::string_view name) const;
  // The unit in a name such as "depth [ft]"; empty for none.
  const std::string& unit_of(std::size_t column) const { return units_[column]; }

  // Reads the rows from the first on; what `take` gets stands until it returns. A row with another number of
  // cells is an `error` that tells its line. Rows end when `take` gives false.
  void each_row(const std::function<bool(std::span<const std::string_view> cells, std::size_t line)>& take,
                const table_progress& progress = nullptr);

  // Of numbers and texts in cells: which it is shows while the rows are read first, and is kept.
  bool decimal_comma() const { return decimal_comma_.value_or(false); }
  bool is_decimal_mark_open() const { return !decimal_comma_.has_value(); }
  // Whether a cell is a number. The first one that has a decimal mark decides which it is, where that is
  // open.
  bool is_number(std::string_view cell);
  // The cell in UTF-8. The first one that isn't decides that all are in Latin-1. An `error` if both are
  // there.
  std::string text_of(std::string_view cell, std::size_t line);
  // How long that is.
  std::size_t text_size(std::string_view cell, std::size_t line);

  // Bytes of the file.
  std::uint64_t size() const { return from_.size(); }
  // "surveys.csv, line 12".
  std::string where(std::size_t line) const { return line_text(from_.name(), line); }

 private:
  struct beginning;

  void find_layout(const table_wishes& wishes);
  bool find_geoeas(const beginning& text);
  void find_separator(const beginning& text, const table_wishes& wishes);
  void find_names(const beginning& text, const table_wishes& wishes);
  void set_names(std::vector<std::string> names);

  input from_;
  table_kind kind_ = table_kind::csv;
  cell_marks marks_;
  std::vector<std::string> names_;
  std::vector<std::string> units_;
  std::size_t lines_before_ = 0;  // the first row
  std::optional<bool> decimal_comma_;
  std::optional<text_encoding> encoding_;
  bool utf_8_seen_ = false;
};

}  // namespace qrd::formats
