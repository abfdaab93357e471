#include "command/cells.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "qrd/blanks.h"
#include "qrd/error.h"
#include "qrd/numbers.h"
#include "qrd/types.h"

namespace qrd::command {

namespace {

constexpr std::string_view missing_words[] = {"NA", "N/A", "NaN", "null"};
constexpr std::int32_t usual_bits = 64;
// How many cells a refusal names.
constexpr std::size_t named_cells = 3;

[[noreturn]] void fail(const csv_table& table, const std::string& title, std::size_t row,
                       const std::string& text) {
  throw client::error(table.where(row) + ": column \"" + title + "\": " + text);
}

std::string quoted(std::string_view cell) {
  return "\"" + std::string(cell) + "\"";
}

bool equal_without_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
  });
}

bool is_blank(std::string_view cell) {
  return cell.find_first_not_of(' ') == std::string_view::npos;
}

bool contains(const std::vector<std::string>& texts, std::string_view cell) {
  return std::find(texts.begin(), texts.end(), cell) != texts.end();
}

// The limit in "<0.01".
std::optional<double> detection_limit(std::string_view cell) {
  cell = client::without_blanks(cell);
  if (!cell.starts_with('<')) return std::nullopt;
  return client::parse_number(cell.substr(1));
}

double below_limit(double limit, below_detection rule) {
  switch (rule) {
    case below_detection::half:
      return limit / 2;
    case below_detection::zero:
      return 0;
    case below_detection::value:
      return limit;
    default:
      return client::missing_value;
  }
}

// What the cells of a column look like.
struct column_look {
  std::size_t missing = 0;
  std::size_t numbers = 0;
  std::vector<std::size_t> below;  // rows
  std::vector<std::size_t> words;
};

column_look look_at(const cell_list& cells, const cell_rules& rules) {
  column_look look;
  for (std::size_t row = 0; row < cells.size(); ++row) {
    if (rules.is_missing_number(cells[row]))
      ++look.missing;
    else if (client::parse_number(cells[row]))
      ++look.numbers;
    else
      (detection_limit(cells[row]) ? look.below : look.words).push_back(row);
  }
  return look;
}

std::string first_cells(const csv_table& table, const cell_list& cells,
                        const std::vector<std::size_t>& rows) {
  std::string text;
  for (std::size_t i = 0; i < std::min(rows.size(), named_cells); ++i)
    text += (i == 0 ? "" : ", ") + quoted(cells[rows[i]]) + " on line " + std::to_string(table.line(rows[i]));
  return text + (rows.size() > named_cells ? ", ..." : "");
}

std::int32_t longest(const cell_list& cells, const cell_rules& rules) {
  std::size_t length = 1;
  for (const std::string_view cell : cells)
    if (!rules.is_missing_text(cell)) length = std::max(length, client::without_blanks_behind(cell).size());
  constexpr std::size_t widest = 1 << 20;
  if (length > widest) throw client::error("a cell of " + std::to_string(length) + " characters");
  return static_cast<std::int32_t>(length);
}

column_type text_column(const cell_list& cells, const cell_rules& rules) {
  column_type type;
  type.characters = longest(cells, rules);
  type.missing = static_cast<std::size_t>(
      std::count_if(cells.begin(), cells.end(), [&](auto cell) { return rules.is_missing_text(cell); }));
  return type;
}

}  // namespace

bool cell_rules::is_missing_text(std::string_view cell) const {
  return is_blank(cell) || contains(missing, cell) ||
         std::find(std::begin(missing_words), std::end(missing_words), cell) != std::end(missing_words);
}

bool cell_rules::is_missing_number(std::string_view cell) const {
  if (is_blank(cell) || contains(missing, cell)) return true;
  const std::string_view word = client::without_blanks(cell);
  return std::any_of(std::begin(missing_words), std::end(missing_words),
                     [&](std::string_view one) { return equal_without_case(one, word); });
}

column_type type_of_column(const csv_table& table, const std::string& title, const cell_rules& rules,
                           const column_wishes& wishes) {
  const cell_list& cells = table.column(title);
  if (wishes.text) return text_column(cells, rules);
  const column_look look = look_at(cells, rules);
  const std::size_t numeric = look.numbers + look.below.size();
  if (wishes.bits == 0 && look.words.size() >= std::max<std::size_t>(1, numeric))
    return text_column(cells, rules);
  if (wishes.bits == 0 && !look.words.empty())
    throw client::error("column \"" + title + "\" has " + std::to_string(numeric) + " numbers, and " +
                        std::to_string(look.words.size()) + (look.words.size() == 1 ? " cell" : " cells") +
                        " that are none: " + first_cells(table, cells, look.words) +
                        ". Give --missing WORD if they stand for missing values, --text " + quoted(title) +
                        " if all cells are texts");
  if (!look.below.empty() && rules.below == below_detection::refused)
    throw client::error("column \"" + title + "\" has " + std::to_string(look.below.size()) +
                        " values below detection: " + first_cells(table, cells, look.below) +
                        ". Tell what they stand for by --below-detection half, zero, missing or value");
  column_type type;
  type.bits = wishes.bits == 0 ? usual_bits : wishes.bits;
  type.missing = look.missing + (rules.below == below_detection::missing ? look.below.size() : 0);
  return type;
}

std::vector<double> to_numbers(const csv_table& table, const std::string& title, const cell_rules& rules,
                               std::int32_t bits) {
  const cell_list& cells = table.column(title);
  std::vector<double> numbers;
  numbers.reserve(cells.size());
  for (const std::string_view cell : cells) {
    const std::size_t row = numbers.size();
    auto number = client::parse_number(cell);
    // A number can stand for a missing value too, such as -99.
    if (!number || contains(rules.missing, cell)) {
      const auto limit = rules.below == below_detection::refused ? std::nullopt : detection_limit(cell);
      if (limit)
        number = below_limit(*limit, rules.below);
      else if (rules.is_missing_number(cell))
        number = client::missing_value;
      else
        fail(table, title, row, quoted(cell) + " is not a number");
    }
    if (*number == client::missing_value) {
      if (bits == 1) fail(table, title, row, "a 1-bit variable has no missing value");
    } else if (!client::fits_bits(*number, bits)) {
      fail(table, title, row, std::to_string(bits) + " bits cannot hold " + std::string(cell));
    }
    numbers.push_back(*number);
  }
  return numbers;
}

std::vector<double> to_places(const csv_table& table, const std::string& title, const cell_rules& rules) {
  std::vector<double> places = to_numbers(table, title, rules, usual_bits);
  const auto missing = std::find(places.begin(), places.end(), client::missing_value);
  if (missing != places.end())
    fail(table, title, static_cast<std::size_t>(missing - places.begin()), "a place needs a value");
  return places;
}

std::vector<std::string> to_texts(const csv_table& table, const std::string& title, const cell_rules& rules,
                                  std::int32_t width) {
  const cell_list& cells = table.column(title);
  std::vector<std::string> texts;
  texts.reserve(cells.size());
  for (const std::string_view cell : cells) {
    const std::string_view text =
        rules.is_missing_text(cell) ? std::string_view() : client::without_blanks_behind(cell);
    if (text.size() > static_cast<std::size_t>(width))
      fail(table, title, texts.size(),
           quoted(cell) + " has more than " + std::to_string(width) + " characters");
    texts.emplace_back(text);
  }
  return texts;
}

}  // namespace qrd::command
