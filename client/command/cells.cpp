#include "client/command/cells.h"

#include <algorithm>

#include "client/error.h"
#include "client/numbers.h"
#include "client/types.h"

namespace qrd::command {

namespace {

[[noreturn]] void fail(const std::string& title, std::size_t row, const std::string& text) {
  throw client::error("column \"" + title + "\", row " + std::to_string(row + 1) + ": " + text);
}

std::string quoted(std::string_view cell) {
  return "\"" + std::string(cell) + "\"";
}

std::string_view without_blanks_behind(std::string_view cell) {
  return cell.substr(0, cell.find_last_not_of(' ') + 1);
}

}  // namespace

bool missing_cells::contain(std::string_view cell) const {
  if (cell.find_first_not_of(' ') == std::string_view::npos) return true;
  return std::find(texts.begin(), texts.end(), cell) != texts.end();
}

bool are_numbers(const cell_list& cells, const missing_cells& missing) {
  bool any = false;
  for (const std::string_view cell : cells) {
    if (missing.contain(cell)) continue;
    if (!client::parse_number(cell)) return false;
    any = true;
  }
  return any;
}

std::int32_t longest(const cell_list& cells, const missing_cells& missing) {
  std::size_t length = 1;
  for (const std::string_view cell : cells)
    if (!missing.contain(cell)) length = std::max(length, without_blanks_behind(cell).size());
  constexpr std::size_t widest = 1 << 20;
  if (length > widest) throw client::error("a cell of " + std::to_string(length) + " characters");
  return static_cast<std::int32_t>(length);
}

std::vector<double> to_numbers(const cell_list& cells, const missing_cells& missing, const std::string& title,
                               std::int32_t bits) {
  std::vector<double> numbers;
  numbers.reserve(cells.size());
  for (const std::string_view cell : cells) {
    const std::size_t row = numbers.size();
    if (missing.contain(cell)) {
      if (bits == 1) fail(title, row, "a 1-bit variable has no missing value");
      numbers.push_back(client::missing_value);
      continue;
    }
    const auto number = client::parse_number(cell);
    if (!number) fail(title, row, quoted(cell) + " is not a number");
    if (!client::fits_bits(*number, bits))
      fail(title, row, std::to_string(bits) + " bits cannot hold " + std::string(cell));
    numbers.push_back(*number);
  }
  return numbers;
}

std::vector<double> to_places(const cell_list& cells, const missing_cells& missing,
                              const std::string& title) {
  constexpr std::int32_t stored_bits = 64;
  for (std::size_t row = 0; row < cells.size(); ++row)
    if (missing.contain(cells[row])) fail(title, row, "a place needs a value");
  return to_numbers(cells, missing, title, stored_bits);
}

std::vector<std::string> to_texts(const cell_list& cells, const missing_cells& missing,
                                  const std::string& title, std::int32_t width) {
  std::vector<std::string> texts;
  texts.reserve(cells.size());
  for (const std::string_view cell : cells) {
    const std::string_view text = missing.contain(cell) ? std::string_view() : without_blanks_behind(cell);
    if (text.size() > static_cast<std::size_t>(width))
      fail(title, texts.size(), quoted(cell) + " has more than " + std::to_string(width) + " characters");
    texts.emplace_back(text);
  }
  return texts;
}

}  // namespace qrd::command
