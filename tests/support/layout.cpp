#include "support/layout.h"

#include <bit>
#include <cctype>
#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>
#include <utility>

#include "support/bytes.h"
#include "wire/client_versions.h"
#include "wire/values.h"

namespace qrd::test {

namespace {

using variables = std::map<std::string, std::int64_t, std::less<>>;

struct node {
  enum kind { value, repetition, condition } is = value;
  value_type type = value_type::whole;
  std::string name;   // of a value; of what a condition asks for
  std::string limit;  // of a text
  std::string count;  // of an array and of a repetition
  char comparison = '\0';
  std::int64_t compared = 0;
  bool inverted = false;
  std::vector<node> group;
};

class parser {
 public:
  explicit parser(std::string_view layout) : rest_(layout) {}

  std::vector<node> whole() {
    std::vector<node> all = rest_.empty() ? std::vector<node>() : items();
    if (!rest_.empty()) fail();
    return all;
  }

 private:
  [[noreturn]] void fail() const { throw std::invalid_argument("no layout: " + std::string(rest_)); }

  bool skip(std::string_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }
  void need(std::string_view text) {
    if (!skip(text)) fail();
  }
  std::string until(char end) {
    const std::size_t size = rest_.find(end);
    if (size == std::string_view::npos) fail();
    std::string text(rest_.substr(0, size));
    rest_.remove_prefix(size + 1);
    return text;
  }
  std::string word() {
    std::size_t size = 0;
    while (size < rest_.size() &&
           (std::isalnum(static_cast<unsigned char>(rest_[size])) || rest_[size] == '_'))
      ++size;
    if (size == 0) fail();
    std::string text(rest_.substr(0, size));
    rest_.remove_prefix(size);
    return text;
  }

  std::vector<node> items() {
    std::vector<node> all;
    do {
      add_item(all);
    } while (skip(", "));
    return all;
  }
  std::vector<node> group() {
    std::vector<node> all = items();
    need(")");
    return all;
  }

  void add_item(std::vector<node>& all) {
    static const std::map<std::string, value_type, std::less<>> types = {
        {"int", value_type::whole},   {"bool", value_type::whole}, {"long", value_type::wide},
        {"double", value_type::real}, {"byte", value_type::byte},  {"text", value_type::text}};
    const std::string first = word();
    if (first == "if" || first == "unless") return all.push_back(condition(first == "unless"));
    if (const auto type = types.find(first); type != types.end()) return all.push_back(value(type->second));
    if (skip(" of (")) {
      node made;
      made.is = node::repetition;
      made.count = first;
      made.group = group();
      return all.push_back(made);
    }
    for (const layout_part& part : layout_parts)
      if (first == part.name) {
        std::vector<node> held = parser(part.layout).whole();
        all.insert(all.end(), held.begin(), held.end());
        return;
      }
    fail();
  }
  node value(value_type type) {
    node made;
    made.type = type;
    if (type == value_type::text && skip("(")) made.limit = until(')');
    need(" ");
    made.name = word();
    if (skip("[")) made.count = until(']');
    return made;
  }
  node condition(bool inverted) {
    node made;
    made.is = node::condition;
    made.inverted = inverted;
    need(" ");
    made.name = word();
    for (const char comparison : {'=', '>'})
      if (skip(std::string(" ") + comparison + " ")) {
        made.comparison = comparison;
        made.compared = std::stoll(word());
      }
    need(" (");
    made.group = group();
    return made;
  }

  std::string_view rest_;
};

// The names in counts, limits and conditions.
void collect_deciding(const std::vector<node>& layout, std::set<std::string>& names) {
  for (const node& each : layout) {
    for (const std::string* text : {&each.limit, &each.count})
      for (std::size_t at = 0; at < text->size();) {
        const std::size_t end = std::min(text->find(' ', at), text->size());
        names.insert(text->substr(at, end - at));
        at = end + 1;
      }
    if (each.is == node::condition) names.insert(each.name);
    collect_deciding(each.group, names);
  }
}

class walker {
 public:
  walker(std::int32_t client_version, const std::function<std::int64_t(const layout_value&)>& visit)
      : version_(client_version), visit_(visit) {}

  void walk(std::string_view layout) {
    const std::vector<node> nodes = parser(layout).whole();
    collect_deciding(nodes, deciding_);
    variables known;
    walk(nodes, known);
  }

 private:
  void walk(const std::vector<node>& layout, variables& known) {
    for (const node& each : layout) {
      if (each.is == node::value) {
        show(each, known);
      } else if (each.is == node::condition) {
        if (holds(each, known) != each.inverted) walk(each.group, known);
      } else {
        const std::int64_t count = amount(each.count, known);
        for (std::int64_t i = 0; i < count; ++i) {
          variables inner = known;
          walk(each.group, inner);
        }
      }
    }
  }

  void show(const node& each, variables& known) {
    layout_value value = {each.type, each.name, text_limit, 0, deciding_.contains(each.name)};
    if (!each.limit.empty()) value.limit = each.limit == "any" ? unlimited_text : amount(each.limit, known);
    const std::int64_t count = each.count.empty() ? 1 : amount(each.count, known);
    for (; value.place < count; ++value.place) known[each.name] = visit_(value);
  }

  bool holds(const node& each, const variables& known) const {
    for (const client_versions* clients : all_client_versions)
      if (each.name == clients->name) return clients->include(version_);
    const std::int64_t value = amount(each.name, known);
    if (each.comparison == '=') return value == each.compared;
    return value > each.compared || (each.comparison == '\0' && value < 0);
  }

  // A number, the name of one, or two of them.
  static std::int64_t amount(std::string_view text, const variables& known) {
    if (const std::size_t at = text.find(' '); at != std::string_view::npos) {
      const std::int64_t first = amount(text.substr(0, at), known);
      const std::int64_t second = amount(text.substr(at + 3), known);
      return text[at + 1] == '*' ? first * second : first + second;
    }
    if (std::isdigit(static_cast<unsigned char>(text[0])) != 0) return std::stoll(std::string(text));
    const auto found = known.find(text);
    if (found == known.end()) throw std::invalid_argument("no value " + std::string(text));
    return found->second;
  }

  std::int32_t version_;
  const std::function<std::int64_t(const layout_value&)>& visit_;
  std::set<std::string> deciding_;
};

class unpacker {
 public:
  explicit unpacker(std::string_view data) : data_(data) {}

  std::int64_t take(const layout_value& value) {
    switch (value.type) {
      case value_type::whole: {
        const auto number = static_cast<std::int32_t>(unsigned_number(4));
        tell(value, "Int(" + std::to_string(number) + ")");
        return number;
      }
      case value_type::wide: {
        const auto number = static_cast<std::int64_t>(unsigned_number(8));
        tell(value, "Long(64bits)(" + std::to_string(number) + ")");
        return number;
      }
      case value_type::real: {
        char text[40];
        std::snprintf(text, sizeof text, "Dbl(%g)", std::bit_cast<double>(unsigned_number(8)));
        tell(value, text);
        return 0;
      }
      case value_type::byte:
        unsigned_number(1);
        return 0;
      case value_type::text: {
        const std::uint64_t size = unsigned_number(4);
        if (static_cast<std::int64_t>(size) >= value.limit)
          throw std::out_of_range("a text beyond its limit");
        tell(value, "Str(" + std::string(bytes_of(size)) + ")");
        for (char padding : bytes_of((4 - size % 4) % 4))
          if (padding != '\0') throw std::out_of_range("no zero behind a text");
        return 0;
      }
    }
    return 0;
  }
  bool at_end() const { return data_.empty(); }
  const std::vector<std::string>& told() const { return told_; }

 private:
  void tell(const layout_value& value, std::string text) {
    if (value.place < 10) told_.push_back(std::move(text));
  }
  std::string_view bytes_of(std::uint64_t count) {
    if (count > data_.size()) throw std::out_of_range("the packet ends");
    const std::string_view taken = data_.substr(0, count);
    data_.remove_prefix(count);
    return taken;
  }
  std::uint64_t unsigned_number(std::uint64_t size) {
    std::uint64_t number = 0;
    for (char byte : bytes_of(size)) number = number << 8 | static_cast<unsigned char>(byte);
    return number;
  }

  std::string_view data_;
  std::vector<std::string> told_;
};

}  // namespace

void walk_layout(std::string_view layout, std::int32_t client_version,
                 const std::function<std::int64_t(const layout_value& value)>& visit) {
  walker(client_version, visit).walk(layout);
}

const request_row& row_of(std::string_view request) {
  for (const request_row& row : request_table)
    if (request == row.name) return row;
  throw std::invalid_argument("no request " + std::string(request));
}

std::string packed(std::string_view layout, value_source& source, std::int32_t client_version) {
  bytes packet;
  walk_layout(layout, client_version, [&](const layout_value& value) -> std::int64_t {
    if (value.type == value_type::real) {
      packet.f64(source.real(value));
      return 0;
    }
    if (value.type == value_type::text) {
      packet.text(source.text(value));
      return 0;
    }
    const std::int64_t number = source.number(value);
    const std::int64_t sent = source.sent(value, number);
    if (value.type == value_type::whole) packet.i32(static_cast<std::int32_t>(sent));
    if (value.type == value_type::wide) packet.i64(sent);
    if (value.type == value_type::byte) packet.u8(static_cast<std::uint8_t>(sent));
    return number;
  });
  return packet.str();
}

std::string packed_request(const request_row& row, value_source& source, std::int32_t client_version) {
  return bytes().text(row.name).str() + packed(row.arguments, source, client_version);
}

std::optional<std::vector<std::string>> unpacked(std::string_view layout, std::string_view data,
                                                 std::int32_t client_version) {
  unpacker values(data);
  try {
    walk_layout(layout, client_version, [&](const layout_value& value) { return values.take(value); });
  } catch (const std::out_of_range&) {
    return std::nullopt;
  }
  if (!values.at_end()) return std::nullopt;
  return values.told();
}

}  // namespace qrd::test
