#include "command/key_join.h"

#include <charconv>
#include <cmath>
#include <unordered_map>

#include "qrd/blanks.h"
#include "qrd/error.h"

namespace qrd::command {

std::vector<std::string> key_texts(std::vector<client::column_values>& keys, std::size_t count) {
  std::vector<std::string> texts(count);
  std::vector<bool> missing(count);
  for (client::column_values& one : keys)
    for (std::size_t i = 0; i < count; ++i) {
      if (!one.texts.empty()) {
        missing[i] = missing[i] || one.texts[i].empty();
        texts[i] += client::without_blanks(one.texts[i]);
      } else {
        const double value = one.numbers[i];
        missing[i] = missing[i] || std::isnan(value);
        char text[32];
        // 0 and -0 are the same place.
        const auto end =
            std::to_chars(text, text + sizeof text, value + 0.0, std::chars_format::general, 12).ptr;
        texts[i].append(text, end);
      }
      texts[i] += '\n';
    }
  for (std::size_t i = 0; i < count; ++i)
    if (missing[i]) texts[i].clear();
  return texts;
}

joined_rows join_keys(const std::vector<std::string>& of_samples, const std::vector<std::string>& of_rows) {
  std::unordered_map<std::string_view, std::size_t> rows;
  for (std::size_t row = 0; row < of_rows.size(); ++row)
    if (!of_rows[row].empty() && !rows.emplace(of_rows[row], row).second) {
      std::string shown = of_rows[row].substr(0, of_rows[row].size() - 1);
      for (char& each : shown)
        if (each == '\n') each = ',';
      throw client::error("two rows have the key " + shown);
    }
  joined_rows joined;
  std::vector<bool> has_sample(of_rows.size());
  for (std::size_t sample = 0; sample < of_samples.size(); ++sample) {
    const auto found = of_samples[sample].empty() ? rows.end() : rows.find(of_samples[sample]);
    if (found == rows.end()) continue;
    joined.row_of_sample.emplace_back(sample, found->second);
    has_sample[found->second] = true;
  }
  for (std::size_t row = 0; row < of_rows.size(); ++row)
    if (!has_sample[row]) joined.without_sample.push_back(row);
  return joined;
}

}  // namespace qrd::command
