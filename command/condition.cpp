#include "command/condition.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "command/names.h"
#include "qrd/error.h"

namespace qrd::command {

enum class condition_part {
  number,
  text,
  name,
  sum,
  product,
  comparison,
  like,
  one_of,
  missing,
  negation,
  both,
  either
};

struct condition_node {
  condition_part part = condition_part::number;
  std::size_t place = 0;  // in the text
  double number = 0;
  std::string text;
  std::size_t name = 0;
  bool is_text = false;
  std::string operation;  // of a comparison
  std::vector<condition_node> parts;
  std::vector<char> signs;  // '+' or '-' of each part of a sum, '*' or '/' of a product
};

namespace {

using node = condition_node;
using kind = condition_part;

// Ordered so that "and" is the least of its parts, "or" the greatest.
enum class truth { no, unknown, yes };

truth to_truth(bool is) {
  return is ? truth::yes : truth::no;
}

[[noreturn]] void fail(const std::string& text, std::size_t place, const std::string& problem) {
  throw client::error("the condition " + text + " is wrong at character " + std::to_string(place + 1) + ": " +
                      problem);
}

enum class token_kind { end, number, text, name, word, sign };

struct token {
  token_kind kind = token_kind::end;
  std::size_t place = 0;
  std::string text;  // a word in lower case
  double number = 0;
};

class token_reader {
 public:
  explicit token_reader(const std::string& text) : text_(text) {}

  token next() {
    while (at_ < text_.size() && std::isspace(byte(at_)) != 0) ++at_;
    token found;
    found.place = at_;
    if (at_ == text_.size()) return found;
    const char first = text_[at_];
    if (first == '"' || first == '\'' || first == '`') {
      found.kind = first == '`' ? token_kind::name : token_kind::text;
      found.text = quoted(first);
    } else if (std::isdigit(byte(at_)) != 0 ||
               (first == '.' && at_ + 1 < text_.size() && std::isdigit(byte(at_ + 1)) != 0)) {
      found.kind = token_kind::number;
      const char* begin = text_.data() + at_;
      const auto [end, problem] = std::from_chars(begin, text_.data() + text_.size(), found.number);
      if (problem != std::errc()) fail(text_, at_, "this is no number");
      at_ += static_cast<std::size_t>(end - begin);
      if (at_ < text_.size() && is_name_byte(at_))
        fail(text_, found.place,
             "this is no number, and a name that begins with a digit is put between back quotes: `...`");
    } else if (is_name_byte(at_)) {
      read_word(found);
    } else {
      read_sign(found);
    }
    return found;
  }

 private:
  unsigned char byte(std::size_t at) const { return static_cast<unsigned char>(text_[at]); }
  bool is_name_byte(std::size_t at) const {
    return std::isalnum(byte(at)) != 0 || text_[at] == '_' || text_[at] == '.' || byte(at) >= 0x80;
  }

  // A quote within is doubled.
  std::string quoted(char quote) {
    const std::size_t begin = at_++;
    std::string inside;
    for (;; ++at_) {
      if (at_ == text_.size()) fail(text_, begin, "the quote has no end");
      if (text_[at_] == quote && (++at_ == text_.size() || text_[at_] != quote)) return inside;
      inside += text_[at_];
    }
  }

  void read_word(token& found) {
    static constexpr std::string_view words[] = {"and", "or", "not", "in", "is", "like", "missing"};
    while (at_ < text_.size() && is_name_byte(at_)) found.text += text_[at_++];
    std::string folded;
    for (const char character : found.text)
      folded += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    found.kind = token_kind::name;
    if (std::find(std::begin(words), std::end(words), folded) != std::end(words)) {
      found.kind = token_kind::word;
      found.text = folded;
      return;
    }
    // The column of a macro variable.
    if (at_ == text_.size() || (text_[at_] != '[' && text_[at_] != '{')) return;
    const std::size_t end = text_.find(text_[at_] == '[' ? ']' : '}', at_);
    if (end == std::string::npos) fail(text_, at_, "the bracket has no end");
    found.text += text_.substr(at_, end + 1 - at_);
    at_ = end + 1;
  }

  void read_sign(token& found) {
    static constexpr std::pair<std::string_view, std::string_view> signs[] = {
        {"&&", "and"}, {"||", "or"}, {"<=", "<="}, {">=", ">="}, {"==", "=="}, {"!=", "!="},
        {"<>", "!="},  {"=", "=="},  {"<", "<"},   {">", ">"},   {"!", "not"}, {"+", "+"},
        {"-", "-"},    {"*", "*"},   {"/", "/"},   {"(", "("},   {")", ")"},   {",", ","}};
    for (const auto& [written, meant] : signs) {
      if (std::string_view(text_).substr(at_, written.size()) != written) continue;
      found.kind =
          std::isalpha(static_cast<unsigned char>(meant[0])) != 0 ? token_kind::word : token_kind::sign;
      found.text = meant;
      at_ += written.size();
      return;
    }
    fail(text_, at_, "this character has no meaning here");
  }

  const std::string& text_;
  std::size_t at_ = 0;
};

class parser {
 public:
  parser(const std::string& text, std::vector<std::string>& names)
      : text_(text), names_(names), tokens_(text) {
    step();
  }

  node whole() {
    node root = either();
    if (here_.kind != token_kind::end) fail_here("\"" + here_.text + "\" is not expected here");
    return root;
  }

 private:
  // What can be nested is counted: the text comes from anywhere, the stack is finite.
  struct level {
    explicit level(parser& of) : of_(of) {
      constexpr int deepest = 100;
      if (++of_.depth_ > deepest) of_.fail_here("the condition is nested too deeply");
    }
    level(const level&) = delete;
    level& operator=(const level&) = delete;
    ~level() { --of_.depth_; }
    parser& of_;
  };

  [[noreturn]] void fail_here(const std::string& problem) const { fail(text_, here_.place, problem); }
  void step() { here_ = tokens_.next(); }
  bool is(token_kind wanted, std::string_view text) const {
    return here_.kind == wanted && here_.text == text;
  }
  bool take(token_kind wanted, std::string_view text) {
    if (!is(wanted, text)) return false;
    step();
    return true;
  }
  bool take_word(std::string_view word) { return take(token_kind::word, word); }
  bool take_sign(std::string_view sign) { return take(token_kind::sign, sign); }
  void need_sign(std::string_view sign) {
    if (!take_sign(sign)) fail_here("a \"" + std::string(sign) + "\" is missing");
  }
  node made(kind part) const {
    node one;
    one.part = part;
    one.place = here_.place;
    return one;
  }

  // One or more parts with a word between them.
  template <typename Part>
  node joined(kind part, std::string_view word, const Part& next) {
    node all = made(part);
    all.parts.push_back(next());
    while (take_word(word)) all.parts.push_back(next());
    return all.parts.size() == 1 ? std::move(all.parts[0]) : std::move(all);
  }

  node either() {
    const level deeper(*this);
    return joined(kind::either, "or", [this] { return both(); });
  }
  node both() {
    return joined(kind::both, "and", [this] { return negated(); });
  }
  node negated() {
    const level deeper(*this);
    node one = made(kind::negation);
    if (!take_word("not")) return comparison();
    one.parts.push_back(negated());
    return one;
  }

  static node opposite(node of, bool is_opposite) {
    if (!is_opposite) return of;
    node all;
    all.part = kind::negation;
    all.place = of.place;
    all.parts.push_back(std::move(of));
    return all;
  }

  node comparison() {
    node left = sum();
    if (take_word("is")) {
      const bool turned = take_word("not");
      node one = made(kind::missing);
      if (!take_word("missing")) fail_here("behind \"is\" stands \"missing\" or \"not missing\"");
      one.parts.push_back(std::move(left));
      return opposite(std::move(one), turned);
    }
    const bool turned = is(token_kind::word, "not");
    if (turned) step();
    node one = made(kind::like);
    if (take_word("like")) {
      if (here_.kind != token_kind::text) fail_here("behind \"like\" stands a text with * and ?");
      one.text = here_.text;
      step();
      one.parts.push_back(std::move(left));
      return opposite(std::move(one), turned);
    }
    one.part = kind::one_of;
    if (take_word("in")) {
      one.parts.push_back(std::move(left));
      need_sign("(");
      do one.parts.push_back(sum());
      while (take_sign(","));
      need_sign(")");
      return opposite(std::move(one), turned);
    }
    if (turned) fail_here("\"not\" is not expected here");
    one.part = kind::comparison;
    for (const char* operation : {"<", "<=", ">", ">=", "==", "!="}) {
      if (!is(token_kind::sign, operation)) continue;
      one.operation = operation;
      step();
      one.parts.push_back(std::move(left));
      one.parts.push_back(sum());
      return one;
    }
    return left;
  }

  template <typename Part>
  node counted(kind part, char plus, char minus, const Part& next) {
    node all = made(part);
    all.parts.push_back(next());
    all.signs.push_back(plus);
    while (here_.kind == token_kind::sign && here_.text.size() == 1 &&
           (here_.text[0] == plus || here_.text[0] == minus)) {
      all.signs.push_back(here_.text[0]);
      step();
      all.parts.push_back(next());
    }
    return all.parts.size() == 1 ? std::move(all.parts[0]) : std::move(all);
  }
  node sum() {
    return counted(kind::sum, '+', '-', [this] { return product(); });
  }
  node product() {
    return counted(kind::product, '*', '/', [this] { return value(); });
  }

  node value() {
    const level deeper(*this);
    node one = made(kind::number);
    if (take_sign("-")) {
      one.part = kind::sum;
      one.signs.push_back('-');
      one.parts.push_back(value());
      return one;
    }
    if (take_sign("(")) {
      one = either();
      need_sign(")");
      return one;
    }
    switch (here_.kind) {
      case token_kind::number:
        one.number = here_.number;
        break;
      case token_kind::text:
        one.part = kind::text;
        one.text = here_.text;
        break;
      case token_kind::name: {
        one.part = kind::name;
        const auto known = std::find(names_.begin(), names_.end(), here_.text);
        one.name = static_cast<std::size_t>(known - names_.begin());
        if (known == names_.end()) names_.push_back(here_.text);
        break;
      }
      default:
        fail_here("a number, a text or the name of a variable is missing");
    }
    step();
    return one;
  }

  const std::string& text_;
  std::vector<std::string>& names_;
  token_reader tokens_;
  token here_;
  int depth_ = 0;
};

enum class value_type { number, text, truth };

// Finds out what each part gives.
class checker {
 public:
  checker(const std::string& text, const std::vector<bool>& is_text) : text_(text), is_text_(is_text) {}

  value_type type_of(node& one) const {
    const value_type type = found_type(one);
    one.is_text = type == value_type::text;
    return type;
  }
  void need_truth(node& one) const {
    if (type_of(one) == value_type::text) fail(text_, one.place, "a text is neither true nor false");
  }

 private:
  void need_number(node& one) const {
    if (type_of(one) != value_type::number) fail(text_, one.place, "a number is needed here");
  }

  void need_alike(node& one) const {
    const value_type first = type_of(one.parts[0]);
    for (node& part : one.parts) {
      const value_type type = type_of(part);
      if (type == value_type::truth) fail(text_, part.place, "what is true or false can't be compared");
      if (type != first)
        fail(text_, part.place,
             "a number and a text are compared; the name of a variable is put between back quotes: `X Y`");
      if (part.part == kind::text && part.text.empty())
        fail(text_, part.place, "a text without characters is a missing one: write \"is missing\"");
    }
  }

  value_type found_type(node& one) const {
    switch (one.part) {
      case kind::number:
        return value_type::number;
      case kind::text:
        return value_type::text;
      case kind::name:
        return is_text_[one.name] ? value_type::text : value_type::number;
      case kind::sum:
      case kind::product:
        for (node& part : one.parts) need_number(part);
        return value_type::number;
      case kind::comparison:
      case kind::one_of:
        need_alike(one);
        return value_type::truth;
      case kind::like:
        if (type_of(one.parts[0]) != value_type::text)
          fail(text_, one.parts[0].place, "\"like\" needs a text");
        return value_type::truth;
      case kind::missing:
        if (type_of(one.parts[0]) == value_type::truth) fail(text_, one.place, "only a value can be missing");
        return value_type::truth;
      case kind::negation:
      case kind::both:
      case kind::either:
        for (node& part : one.parts) need_truth(part);
        return value_type::truth;
    }
    return value_type::truth;
  }

  const std::string& text_;
  const std::vector<bool>& is_text_;
};

// The values of one sample.
class evaluation {
 public:
  evaluation(std::span<const client::column_values* const> values, std::size_t row)
      : values_(values), row_(row) {}

  truth truth_of(const node& one) const {
    switch (one.part) {
      case kind::comparison:
        return one.parts[0].is_text
                   ? compared(one.operation, text_of(one.parts[0]), text_of(one.parts[1]))
                   : compared(one.operation, number_of(one.parts[0]), number_of(one.parts[1]));
      case kind::one_of:
        return is_among(one);
      case kind::like: {
        const std::string_view text = text_of(one.parts[0]);
        return is_missing(text) ? truth::unknown : to_truth(matches(one.text, text));
      }
      case kind::missing:
        return to_truth(one.parts[0].is_text ? is_missing(text_of(one.parts[0]))
                                             : is_missing(number_of(one.parts[0])));
      case kind::negation:
        return static_cast<truth>(static_cast<int>(truth::yes) - static_cast<int>(truth_of(one.parts[0])));
      case kind::both: {
        truth all = truth::yes;
        for (const node& part : one.parts)
          if ((all = std::min(all, truth_of(part))) == truth::no) break;
        return all;
      }
      case kind::either: {
        truth all = truth::no;
        for (const node& part : one.parts)
          if ((all = std::max(all, truth_of(part))) == truth::yes) break;
        return all;
      }
      default: {
        const double number = number_of(one);
        return is_missing(number) ? truth::unknown : to_truth(number != 0);
      }
    }
  }

 private:
  static bool is_missing(double value) { return std::isnan(value); }
  static bool is_missing(std::string_view value) { return value.empty(); }

  template <typename T>
  static truth compared(const std::string& operation, const T& a, const T& b) {
    if (is_missing(a) || is_missing(b)) return truth::unknown;
    switch (operation[0]) {
      case '<':
        return to_truth(operation.size() > 1 ? a <= b : a < b);
      case '>':
        return to_truth(operation.size() > 1 ? a >= b : a > b);
      case '!':
        return to_truth(a != b);
      default:
        return to_truth(a == b);
    }
  }

  truth is_among(const node& one) const {
    truth found = truth::no;
    for (std::size_t i = 1; i < one.parts.size(); ++i)
      found = std::max(found, one.parts[0].is_text
                                  ? compared("==", text_of(one.parts[0]), text_of(one.parts[i]))
                                  : compared("==", number_of(one.parts[0]), number_of(one.parts[i])));
    return found;
  }

  std::string_view text_of(const node& one) const {
    return one.part == kind::name ? std::string_view(values_[one.name]->texts[row_])
                                  : std::string_view(one.text);
  }

  double number_of(const node& one) const {
    switch (one.part) {
      case kind::number:
        return one.number;
      case kind::name:
        return values_[one.name]->numbers[row_];
      case kind::sum: {
        double sum = 0;
        for (std::size_t i = 0; i < one.parts.size(); ++i)
          sum += one.signs[i] == '-' ? -number_of(one.parts[i]) : number_of(one.parts[i]);
        return sum;
      }
      case kind::product: {
        double product = 1;
        for (std::size_t i = 0; i < one.parts.size(); ++i) {
          const double factor = number_of(one.parts[i]);
          product = one.signs[i] == '/' ? product / factor : product * factor;
        }
        // A division by nothing has no value.
        return std::isfinite(product) ? product : std::numeric_limits<double>::quiet_NaN();
      }
      default:
        return std::numeric_limits<double>::quiet_NaN();
    }
  }

  std::span<const client::column_values* const> values_;
  std::size_t row_;
};

}  // namespace

condition::condition(const std::string& text) : text_(text) {
  root_ = std::make_unique<node>(parser(text_, names_).whole());
}

condition::condition(condition&& other) noexcept = default;
condition::~condition() = default;

void condition::check(const std::vector<bool>& is_text) {
  checker(text_, is_text).need_truth(*root_);
}

bool condition::holds(std::span<const client::column_values* const> values, std::size_t row) const {
  return evaluation(values, row).truth_of(*root_) == truth::yes;
}

}  // namespace qrd::command
