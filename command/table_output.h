// Samples as a table: rows of CSV, or JSON in one of three shapes.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "command/column.h"
#include "command/csv.h"

namespace qrd::command {

enum class table_form {
  csv,
  json_rows,     // an array with an object for each row
  json_lines,    // an object for each row, each on a line of its own
  json_columns,  // an array with an object for each variable: its name, unit and values
};

class table_output {
 public:
  // Writes to a stream that it does not own. With `header_units` the unit stands behind the name of a column:
  // "depth [ft]".
  table_output(const std::vector<column>& columns, table_form form, bool header_units, std::FILE* stream);

  void add_row(const std::vector<column_values>& values, std::size_t row);
  // Everything is with the system after it; a failure is an `error`.
  void finish();

 private:
  std::string cell_json(std::size_t i, const column_values& values, std::size_t row) const;

  const std::vector<column>& columns_;
  table_form form_;
  std::FILE* stream_;
  csv_writer writer_;
  std::vector<std::string> keys_;    // the titles as JSON
  std::vector<std::string> values_;  // of json_columns, as JSON
  std::string buffer_;
  bool any_rows_ = false;
};

}  // namespace qrd::command
