// Samples as a table: rows of CSV, JSON in one of three shapes, or aligned columns for a terminal.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "command/cell_text.h"
#include "command/rows.h"
#include "command/terminal.h"

namespace qrd::command {

enum class table_form {
  csv,           // RFC 4180
  json_rows,     // an array with an object for each row
  json_lines,    // an object for each row, each on a line of its own
  json_columns,  // an array with an object for each variable: its name, unit and values
  geojson,       // points, with a feature for each row (RFC 7946)
  aligned,
};

class table_output {
 public:
  // Writes to a stream that it does not own. With `header_units` the unit stands behind the name of a column:
  // "depth [ft]".
  table_output(const std::vector<client::column>& columns, table_form form, bool header_units,
               std::FILE* stream);

  void add(const row_block& block);
  // Everything is with the system after it; a failure is an `error`.
  void finish();

 private:
  void add_csv(const row_block& block);
  void add_json(const row_block& block);
  void add_features(const row_block& block);
  void add_aligned(const row_block& block);
  void append_json(std::string& to, std::size_t column, const client::column_values& values,
                   std::size_t row) const;
  char* room(std::size_t size);
  void put(std::string_view text);
  void put_cell(std::string_view text);
  void write_out();

  const std::vector<client::column>& columns_;
  table_form form_;
  std::FILE* stream_;
  std::vector<number_writer> writers_;
  std::vector<std::string> titles_;
  std::vector<std::string> keys_;    // the titles as JSON
  std::vector<std::string> values_;  // of json_columns, as JSON
  // What has yet to be written.
  std::unique_ptr<char[]> buffer_;
  std::size_t held_ = 0;
  bool any_rows_ = false;
};

}  // namespace qrd::command
