// Rows of a table and samples of a file that have the same key.
#pragma once

#include <string>
#include <vector>

#include "command/cells.h"
#include "qrd/table.h"

namespace qrd::command {

struct joined_rows {
  // Each sample that a row is for, from 0, in ascending order, with its row.
  std::vector<std::pair<std::size_t, std::size_t>> row_of_sample;
  std::vector<std::size_t> without_sample;  // rows
};

// The values of the keys as they are compared: numbers to twelve figures, since a length that was converted
// differs in its last digits; texts without blanks behind. Empty where one of them is missing.
std::vector<std::string> key_texts(std::vector<client::column_values>& keys, std::size_t count);

// A row is for every sample that has its key. An `error` if two rows have the same one.
joined_rows join_keys(const std::vector<std::string>& of_samples, const std::vector<std::string>& of_rows);

}  // namespace qrd::command
