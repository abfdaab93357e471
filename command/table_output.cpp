#include "command/table_output.h"

#include <cmath>

#include "command/output.h"

namespace qrd::command {

namespace {

constexpr std::size_t written_at_once = 64 * 1024;

std::string title_of(const column& one, bool with_unit) {
  const std::string unit = with_unit ? one.unit() : std::string();
  return unit.empty() ? one.title : one.title + " [" + unit + "]";
}

}  // namespace

table_output::table_output(const std::vector<column>& columns, table_form form, bool header_units,
                           std::FILE* stream)
    : columns_(columns), form_(form), stream_(stream), writer_(stream) {
  if (form_ == table_form::csv) {
    for (const column& one : columns_) writer_.cell(title_of(one, header_units));
    writer_.end_row();
    return;
  }
  const bool by_columns = form_ == table_form::json_columns;
  for (const column& one : columns_)
    keys_.push_back(json_text(title_of(one, header_units && !by_columns), -1));
  if (by_columns) values_.resize(columns_.size());
}

void table_output::add_row(const std::vector<column_values>& values, std::size_t row) {
  if (form_ == table_form::csv) {
    for (std::size_t i = 0; i < columns_.size(); ++i) writer_.cell(cell_text(columns_[i], values[i], row));
    writer_.end_row();
    return;
  }
  if (form_ == table_form::json_rows) buffer_ += any_rows_ ? ",\n" : "[\n";
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::string& target = form_ == table_form::json_columns ? values_[i] : buffer_;
    if (form_ == table_form::json_columns)
      target += any_rows_ ? "," : "";
    else
      target.append(i == 0 ? "{" : ",").append(keys_[i]).append(":");
    target += cell_json(i, values[i], row);
  }
  any_rows_ = true;
  if (form_ == table_form::json_columns) return;
  buffer_ += form_ == table_form::json_lines ? "}\n" : "}";
  if (buffer_.size() < written_at_once) return;
  std::fwrite(buffer_.data(), 1, buffer_.size(), stream_);
  buffer_.clear();
}

void table_output::finish() {
  if (form_ == table_form::json_rows) buffer_ += any_rows_ ? "\n]\n" : "[]\n";
  if (form_ == table_form::json_columns) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::string unit = columns_[i].unit();
      buffer_.append(i == 0 ? "[" : ",").append("{\"variable\":").append(keys_[i]).append(",\"unit\":");
      buffer_.append(unit.empty() ? "null" : json_text(unit, -1));
      buffer_.append(",\"values\":[").append(values_[i]).append("]}");
    }
    buffer_ += columns_.empty() ? "[]\n" : "]\n";
  }
  std::fwrite(buffer_.data(), 1, buffer_.size(), stream_);
  buffer_.clear();
  writer_.flush();
}

std::string table_output::cell_json(std::size_t i, const column_values& values, std::size_t row) const {
  if (values.is_missing(columns_[i], row)) return "null";
  if (columns_[i].is_text()) return json_text(values.texts.values[row], -1);
  // JSON has no word for what is not finite.
  return std::isfinite(values.numbers.values[row]) ? cell_text(columns_[i], values, row) : "null";
}

}  // namespace qrd::command
