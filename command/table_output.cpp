#include "command/table_output.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "command/json.h"
#include "qrd/error.h"

namespace qrd::command {

namespace {

constexpr std::size_t buffer_size = 256 * 1024;

std::string title_of(const client::column& one, bool with_unit) {
  const std::string unit = with_unit ? one.unit() : std::string();
  return unit.empty() ? one.title : one.title + " [" + unit + "]";
}

}  // namespace

table_output::table_output(const std::vector<client::column>& columns, table_form form, bool header_units,
                           std::FILE* stream)
    : columns_(columns), form_(form), stream_(stream), buffer_(new char[buffer_size]) {
  for (const client::column& one : columns_) {
    writers_.emplace_back(one);
    titles_.push_back(title_of(one, header_units && form_ != table_form::json_columns));
    keys_.push_back(json_text(titles_.back(), -1));
  }
  if (form_ == table_form::json_columns) values_.resize(columns_.size());
  if (form_ == table_form::geojson) put(R"({"type":"FeatureCollection","features":[)");
  if (form_ != table_form::csv) return;
  for (std::size_t i = 0; i < titles_.size(); ++i) {
    if (i > 0) put(",");
    put_cell(titles_[i]);
  }
  put("\n");
}

void table_output::add(const row_block& block) {
  switch (form_) {
    case table_form::csv:
      add_csv(block);
      break;
    case table_form::aligned:
      add_aligned(block);
      break;
    case table_form::geojson:
      add_features(block);
      break;
    default:
      add_json(block);
  }
  any_rows_ = any_rows_ || !block.rows.empty();
}

void table_output::finish() {
  if (form_ == table_form::geojson) put("\n]}\n");
  if (form_ == table_form::json_rows) put(any_rows_ ? "\n]\n" : "[]\n");
  if (form_ == table_form::json_columns) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::string unit = columns_[i].unit();
      put(i == 0 ? "[{\"variable\":" : ",{\"variable\":");
      put(keys_[i]);
      put(",\"unit\":");
      put(unit.empty() ? "null" : json_text(unit, -1));
      put(",\"values\":[");
      put(values_[i]);
      put("]}");
    }
    put(columns_.empty() ? "[]\n" : "]\n");
  }
  write_out();
  if (std::fflush(stream_) != 0 || std::ferror(stream_) != 0)
    throw client::error(std::string("cannot write the table: ") + std::strerror(errno));
}

void table_output::add_csv(const row_block& block) {
  for (const std::size_t row : block.rows) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (columns_[i].is_text()) {
        if (i > 0) put(",");
        put_cell(block.values[i].texts[row]);
        continue;
      }
      char* const begin = room(number_writer::most + 1);
      char* end = begin;
      if (i > 0) *end++ = ',';
      if (const double value = block.values[i].numbers[row]; !std::isnan(value))
        end = writers_[i].write(end, value);
      held_ += static_cast<std::size_t>(end - begin);
    }
    // A row of one empty cell would be a blank line, which many readers drop.
    const bool is_blank =
        columns_.size() == 1 && (columns_[0].is_text() ? block.values[0].texts[row].empty()
                                                       : std::isnan(block.values[0].numbers[row]));
    put(is_blank ? "\"\"\n" : "\n");
  }
}

void table_output::add_json(const row_block& block) {
  std::string text;
  for (const std::size_t row : block.rows) {
    if (form_ == table_form::json_columns) {
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (any_rows_) values_[i] += ',';
        append_json(values_[i], i, block.values[i], row);
      }
      any_rows_ = true;
      continue;
    }
    text.clear();
    if (form_ == table_form::json_rows) text = any_rows_ ? ",\n" : "[\n";
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      text.append(i == 0 ? "{" : ",").append(keys_[i]).append(":");
      append_json(text, i, block.values[i], row);
    }
    text += form_ == table_form::json_lines ? "}\n" : "}";
    put(text);
    any_rows_ = true;
  }
}

// The coordinates make the point, the other columns its properties.
void table_output::add_features(const row_block& block) {
  const auto is_axis = [&](std::size_t i) {
    const client::variable_type type = columns_[i].info.type;
    return type == client::variable_type::x || type == client::variable_type::y ||
           type == client::variable_type::z;
  };
  std::string text;
  for (const std::size_t row : block.rows) {
    text = any_rows_ ? ",\n" : "\n";
    text += R"({"type":"Feature","geometry":{"type":"Point","coordinates":[)";
    std::size_t axes = 0;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!is_axis(i)) continue;
      if (axes++ > 0) text += ',';
      append_json(text, i, block.values[i], row);
    }
    text += R"(]},"properties":{)";
    bool any = false;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (is_axis(i)) continue;
      text.append(any ? "," : "").append(keys_[i]).append(":");
      append_json(text, i, block.values[i], row);
      any = true;
    }
    put(text += "}}");
    any_rows_ = true;
  }
}

// A table of ten thousand rows at a time: the width of a column needs all of its cells.
void table_output::add_aligned(const row_block& block) {
  constexpr std::size_t rows_at_once = 10000;
  for (std::size_t done = 0; done < block.rows.size(); done += rows_at_once) {
    const auto rows = block.rows.subspan(done, std::min(rows_at_once, block.rows.size() - done));
    std::vector<std::vector<std::string>> cells;
    std::vector<aligned_table::heading> headings;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      headings.push_back({titles_[i], !columns_[i].is_text()});
      std::vector<std::string> texts;
      std::vector<double> numbers;
      for (const std::size_t row : rows)
        if (columns_[i].is_text())
          texts.push_back(block.values[i].texts[row]);
        else
          numbers.push_back(block.values[i].numbers[row]);
      cells.push_back(columns_[i].is_text() ? std::move(texts) : shown_numbers(numbers));
    }
    aligned_table table(headings);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      std::vector<std::string> line;
      for (const auto& column : cells) line.push_back(column[row]);
      table.add(std::move(line));
    }
    table.print(!any_rows_);
    any_rows_ = true;
  }
}

void table_output::append_json(std::string& to, std::size_t column, const client::column_values& values,
                               std::size_t row) const {
  if (columns_[column].is_text()) {
    to += values.texts[row].empty() ? "null" : json_text(values.texts[row], -1);
    return;
  }
  // JSON has no word for what is not finite.
  const double value = values.numbers[row];
  char text[number_writer::most];
  if (std::isfinite(value))
    to.append(text, writers_[column].write(text, value));
  else
    to += "null";
}

// Where so many characters can be written; what is used of them has to be added to held_.
char* table_output::room(std::size_t size) {
  if (held_ + size > buffer_size) write_out();
  return buffer_.get() + held_;
}

void table_output::put(std::string_view text) {
  while (!text.empty()) {
    const std::size_t part = std::min(text.size(), buffer_size);
    text.copy(room(part), part);
    held_ += part;
    text.remove_prefix(part);
  }
}

void table_output::put_cell(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    put(text);
    return;
  }
  put("\"");
  for (std::size_t quote; (quote = text.find('"')) != std::string_view::npos; text.remove_prefix(quote + 1)) {
    put(text.substr(0, quote + 1));
    put("\"");
  }
  put(text);
  put("\"");
}

void table_output::write_out() {
  std::fwrite(buffer_.get(), 1, held_, stream_);
  held_ = 0;
}

}  // namespace qrd::command
