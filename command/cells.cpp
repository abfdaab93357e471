#include "command/cells.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

#include "formats/numbers.h"
#include "qrd/blanks.h"
#include "qrd/error.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

using formats::text_table;

constexpr std::string_view missing_words[] = {"NA", "N/A", "NaN", "null"};
constexpr std::int32_t usual_bits = 64;
constexpr double no_number = std::numeric_limits<double>::quiet_NaN();
// How many cells a refusal names.
constexpr std::size_t named_cells = 3;

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
std::optional<std::string_view> detection_limit(text_table& table, std::string_view cell) {
  cell = client::without_blanks(cell);
  if (!cell.starts_with('<') || !table.is_number(cell.substr(1))) return std::nullopt;
  return cell.substr(1);
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
      return no_number;
  }
}

// Cells of one column as numbers or texts.
class cell_reader {
 public:
  cell_reader(text_table& table, const cell_rules& rules, std::size_t column, const column_type& type,
              bool is_place)
      : table_(table), rules_(rules), column_(column), type_(type), is_place_(is_place) {}

  double number(std::string_view cell, std::size_t line) const {
    std::optional<double> value;
    if (table_.is_decimal_mark_open()) table_.is_number(cell);
    if (rules_.missing.empty() || !contains(rules_.missing, cell))
      value = formats::read_number(cell, table_.decimal_comma());
    if (value) {
      if (!client::fits_bits(*value, type_.bits))
        fail(line, std::to_string(type_.bits) + " bits cannot hold " + std::string(cell));
      return *value;
    }
    const auto limit =
        rules_.below == below_detection::refused ? std::nullopt : detection_limit(table_, cell);
    if (limit) {
      const double read =
          below_limit(formats::read_number(*limit, table_.decimal_comma()).value_or(no_number), rules_.below);
      if (!std::isnan(read)) return read;
    } else if (!rules_.is_missing_number(cell)) {
      fail(line, quoted(cell) + " is not a number");
    }
    if (is_place_) fail(line, "a place needs a value");
    if (type_.bits == 1) fail(line, "a 1-bit variable has no missing value");
    return no_number;
  }

  std::string text(std::string_view cell, std::size_t line) const {
    if (rules_.is_missing_text(cell)) return {};
    std::string text = table_.text_of(client::without_blanks_behind(cell), line);
    if (text.size() > static_cast<std::size_t>(type_.characters))
      fail(line, quoted(text) + " has more than " + std::to_string(type_.characters) + " characters");
    return text;
  }

 private:
  [[noreturn]] void fail(std::size_t line, const std::string& text) const {
    throw client::error(table_.where(line) + ": column " + quoted(table_.names()[column_]) + ": " + text);
  }

  text_table& table_;
  const cell_rules& rules_;
  std::size_t column_;
  column_type type_;
  bool is_place_;
};

// Cells that a refusal names, and how many there are.
struct odd_cells {
  std::size_t count = 0;
  std::vector<std::pair<std::string, std::size_t>> first;

  void add(std::string_view cell, std::size_t line) {
    if (++count <= named_cells) first.emplace_back(cell, line);
  }
  std::string text() const {
    std::string named;
    for (const auto& [cell, line] : first)
      named += (named.empty() ? "" : ", ") + quoted(cell) + " on line " + std::to_string(line);
    return named + (count > named_cells ? ", ..." : "");
  }
};

// What the cells of a column look like.
class column_look {
 public:
  // `bits` are wished for all numbers; 0 for none.
  column_look(text_table& table, const cell_rules& rules, looked_column& column, std::int32_t bits)
      : table_(table),
        rules_(rules),
        column_(column),
        bits_(column.is_place    ? usual_bits
              : column.bits != 0 ? column.bits
                                 : bits),
        reader_(table, rules, column.index, {bits_ == 0 ? usual_bits : bits_, 0, 0}, column.is_place) {}

  void take(std::string_view cell, std::size_t line) {
    if (column_.text) {
      take_text(cell, line);
      return;
    }
    const bool named_missing = !rules_.missing.empty() && contains(rules_.missing, cell);
    if (!named_missing && table_.is_number(cell)) {
      ++numbers_;
      longest_ = std::max(longest_, client::without_blanks_behind(cell).size());
      if (cell == "0")
        ++zeros_;
      else if (cell == "1")
        ++ones_;
      // What is short and has no exponent fits, whatever it is.
      constexpr std::size_t short_number = 25;
      const bool fits = (bits_ == 0 || bits_ == usual_bits) && cell.size() <= short_number &&
                        cell.find_first_of("eE") == std::string_view::npos;
      if (column_.is_place && (column_.numbers.size() < column_.held || !fits))
        take_place(cell, line);
      else if (!fits)
        check(cell, line);
      return;
    }
    if (column_.is_place) {
      take_place(cell, line);
      return;
    }
    take_text(cell, line);
    if (rules_.is_missing_number(cell)) {
      ++missing_;
      if (bits_ == 1) check(cell, line);
    } else {
      (detection_limit(table_, cell) ? below_ : words_).add(cell, line);
    }
  }

  column_type type() const {
    const std::string name = quoted(table_.names()[column_.index]);
    const std::size_t numeric = numbers_ + below_.count;
    if (column_.text || (column_.bits == 0 && words_.count >= std::max<std::size_t>(1, numeric)))
      return text_type();
    if (words_.count > 0 && column_.bits == 0)
      throw client::error("column " + name + " has " + std::to_string(numeric) + " numbers, and " +
                          std::to_string(words_.count) + (words_.count == 1 ? " cell" : " cells") +
                          " that are none: " + words_.text() +
                          ". Give --missing WORD if they stand for missing values, --text " + name +
                          " if all cells are texts");
    if (words_.count > 0)
      throw client::error(table_.where(words_.first[0].second) + ": column " + name + ": " +
                          quoted(words_.first[0].first) + " is not a number");
    if (below_.count > 0 && rules_.below == below_detection::refused)
      throw client::error("column " + name + " has " + std::to_string(below_.count) +
                          " values below detection: " + below_.text() +
                          ". Tell what they stand for by --below-detection half, zero, missing or value");
    if (!problem_.empty()) throw client::error(problem_);
    const std::size_t absent = missing_ + (rules_.below == below_detection::missing ? below_.count : 0);
    const bool is_selection =
        zeros_ > 0 && ones_ > 0 && zeros_ + ones_ == numbers_ && below_.count == 0 && absent == 0;
    return {bits_ != 0 ? bits_ : is_selection ? 1 : usual_bits, 0, absent};
  }

 private:
  void take_text(std::string_view cell, std::size_t line) {
    if (rules_.is_missing_text(cell))
      ++missing_texts_;
    else
      longest_ = std::max(longest_, table_.text_size(client::without_blanks_behind(cell), line));
  }

  void take_place(std::string_view cell, std::size_t line) {
    const double place = reader_.number(cell, line);
    if (column_.numbers.size() < column_.held) column_.numbers.push_back(place);
  }

  // What is wrong with a cell counts only if the column doesn't become one of texts.
  void check(std::string_view cell, std::size_t line) {
    if (!problem_.empty()) return;
    try {
      reader_.number(cell, line);
    } catch (const client::error& problem) {
      problem_ = problem.what();
    }
  }

  column_type text_type() const {
    constexpr std::size_t widest = 1 << 20;
    if (longest_ > widest)
      throw client::error("column " + quoted(table_.names()[column_.index]) + " has a cell of " +
                          std::to_string(longest_) + " characters");
    return {0, std::max<std::int32_t>(1, static_cast<std::int32_t>(longest_)), missing_texts_};
  }

  text_table& table_;
  const cell_rules& rules_;
  looked_column& column_;
  std::int32_t bits_;
  cell_reader reader_;
  std::size_t missing_ = 0;
  std::size_t missing_texts_ = 0;
  std::size_t numbers_ = 0;
  std::size_t zeros_ = 0;
  std::size_t ones_ = 0;
  std::size_t longest_ = 0;
  odd_cells below_;
  odd_cells words_;
  std::string problem_;
};

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

void add_table_options(const command_line& command, table_options& options) {
  command
      .add_option("--missing", options.cells.missing,
                  "Cells that stand for a missing value, beside blank ones, NA, N/A, NaN and null")
      .type_name("WORD")
      .one_at_a_time();
  const auto add_choice = [&](const char* name, const auto& words, auto set, const char* text) {
    std::vector<std::string> known;
    for (const auto& [word, value] : words) known.push_back(word);
    command
        .add_word_option(
            name, [words, set](const std::string& word) { set(words.at(word)); }, text)
        .one_of(known);
  };
  add_choice(
      "--below-detection",
      std::map<std::string, below_detection>{{"half", below_detection::half},
                                             {"zero", below_detection::zero},
                                             {"missing", below_detection::missing},
                                             {"value", below_detection::value}},
      [&options](below_detection rule) { options.cells.below = rule; },
      "What a cell such as <0.01 stands for: half of it, zero, a missing value, or the value");
  formats::table_wishes& wishes = options.wishes;
  command
      .add_word_option(
          "--separator",
          [&wishes](const std::string& word) {
            wishes.separator = word == "tab" || word == "\\t" ? '\t'
                               : word == "blank"              ? formats::blanks_separate
                                                              : word[0];
          },
          "What stands between cells: one character, tab or blank (default: what is found)")
      .type_name("CHAR")
      .check([](const std::string& word) {
        return word.size() == 1 || word == "tab" || word == "\\t" || word == "blank"
                   ? std::string()
                   : "one character, tab or blank";
      });
  command
      .add_word_option(
          "--quote", [&wishes](const std::string& word) { wishes.quote = word == "none" ? '\0' : word[0]; },
          "What quotes cells: one character or none (default: what is found)")
      .type_name("CHAR")
      .check([](const std::string& word) {
        return word.size() == 1 || word == "none" ? std::string() : "one character or none";
      });
  command
      .add_word_option(
          "--comment", [&wishes](const std::string& word) { wishes.comment = word; },
          "What lines of comment begin with (default: #, //, ! or % if the table begins so)")
      .type_name("TEXT");
  add_choice(
      "--decimal", std::map<std::string, bool>{{"point", false}, {"comma", true}},
      [&wishes](bool comma) { wishes.decimal_comma = comma; },
      "Decimal mark of numbers (default: what is found)");
  add_choice(
      "--encoding",
      std::map<std::string, formats::text_encoding>{{"utf-8", formats::text_encoding::utf_8},
                                                    {"latin-1", formats::text_encoding::latin_1}},
      [&wishes](formats::text_encoding encoding) { wishes.encoding = encoding; },
      "Characters of texts (default: what is found)");
  add_choice(
      "--header", std::map<std::string, bool>{{"yes", true}, {"no", false}},
      [&wishes](bool names) { wishes.names = names; },
      "Whether the first row names the columns (default: unless it has nothing but numbers)");
}

std::size_t look_at(text_table& table, const cell_rules& rules, std::vector<looked_column>& columns,
                    std::int32_t bits, const formats::table_progress& progress, const row_taker& take) {
  std::vector<column_look> looks;
  looks.reserve(columns.size());
  for (looked_column& one : columns) looks.emplace_back(table, rules, one, bits);
  std::size_t rows = 0;
  table.each_row(
      [&](std::span<const std::string_view> cells, std::size_t line) {
        for (std::size_t i = 0; i < columns.size(); ++i) looks[i].take(cells[columns[i].index], line);
        if (take) take(cells, line);
        ++rows;
        return true;
      },
      progress);
  for (std::size_t i = 0; i < columns.size(); ++i) columns[i].type = looks[i].type();
  return rows;
}

void read_blocks(text_table& table, const cell_rules& rules, const std::vector<read_column>& columns,
                 std::size_t rows_per_block, const std::function<void(table_block&)>& take,
                 const formats::table_progress& progress) {
  std::vector<cell_reader> readers;
  for (const read_column& one : columns)
    readers.emplace_back(table, rules, one.index, one.type, one.is_place);
  table_block block;
  block.columns.resize(columns.size());
  const auto hand_out = [&] {
    take(block);
    block.first += block.rows();
    block.lines.clear();
    for (client::column_values& values : block.columns) {
      values.numbers.clear();
      values.texts.clear();
    }
  };
  table.each_row(
      [&](std::span<const std::string_view> cells, std::size_t line) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
          const std::string_view cell = cells[columns[i].index];
          if (columns[i].type.is_text())
            block.columns[i].texts.push_back(readers[i].text(cell, line));
          else
            block.columns[i].numbers.push_back(readers[i].number(cell, line));
        }
        block.lines.push_back(line);
        if (block.rows() == rows_per_block) hand_out();
        return true;
      },
      progress);
  if (block.rows() > 0) hand_out();
}

table_block read_whole(text_table& table, const cell_rules& rules, const std::vector<read_column>& columns) {
  table_block whole;
  whole.columns.resize(columns.size());
  read_blocks(table, rules, columns, std::numeric_limits<std::size_t>::max(),
              [&](table_block& block) { whole = std::move(block); });
  return whole;
}

std::string where_row(text_table& table, std::size_t row) {
  std::string found;
  table.each_row([&](std::span<const std::string_view>, std::size_t line) {
    found = table.where(line);
    return row-- > 0;
  });
  return found;
}

}  // namespace qrd::command
