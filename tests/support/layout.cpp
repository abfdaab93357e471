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

class walker {
 public:
  walker(std::int32_t client_version, const std::function<std::int64_t(const layout_value&)>& visit)
      : version_(client_version), visit_(visit) {}

  void walk(std::string_view layout) {
    // First over all of it, for the names in counts, limits and conditions.
    for (const bool comes : {false, true}) {
      variables known;
      rest_ = layout;
      if (!layout.empty()) items(known, comes);
      if (!rest_.empty()) fail();
    }
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
    const auto is_part = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
    std::string text;
    for (; !rest_.empty() && is_part(rest_[0]); rest_.remove_prefix(1)) text += rest_[0];
    if (text.empty()) fail();
    return text;
  }

  // What doesn't come is passed over.
  void items(variables& known, bool comes) {
    do {
      item(known, comes);
    } while (skip(", "));
  }
  void group(variables& known, bool comes) {
    items(known, comes);
    need(")");
  }
  void item(variables& known, bool comes) {
    static const std::map<std::string, value_type> types = {
        {"int", value_type::whole},   {"bool", value_type::whole}, {"long", value_type::wide},
        {"double", value_type::real}, {"byte", value_type::byte},  {"text", value_type::text}};
    const std::string first = word();
    if (first == "if" || first == "unless") {
      const bool is_met = condition(known, comes) != (first == "unless");
      return group(known, comes && is_met);
    }
    if (const auto type = types.find(first); type != types.end()) return value(type->second, known, comes);
    if (skip(" of (")) {
      const std::string_view one = rest_;
      std::int64_t count = amount(first, known, comes);
      do {
        rest_ = one;
        variables inner = known;
        group(inner, count > 0);
      } while (--count > 0);
      return;
    }
    for (const layout_part& part : layout_parts)
      if (first == part.name) {
        const std::string_view behind = std::exchange(rest_, part.layout);
        items(known, comes);
        if (!rest_.empty()) fail();
        rest_ = behind;
        return;
      }
    fail();
  }
  void value(value_type type, variables& known, bool comes) {
    layout_value value = {type, "", text_limit, 0, false};
    if (type == value_type::text && skip("(")) {
      const std::string limit = until(')');
      value.limit = limit == "any" ? unlimited_text : amount(limit, known, comes);
    }
    need(" ");
    value.name = word();
    const std::int64_t count = skip("[") ? amount(until(']'), known, comes) : 1;
    value.decides = deciding_.contains(value.name);
    for (; comes && value.place < count; ++value.place) known[value.name] = visit_(value);
  }
  bool condition(const variables& known, bool comes) {
    need(" ");
    const std::string name = word();
    const char comparison = skip(" = ") ? '=' : skip(" > ") ? '>' : '\0';
    const std::int64_t compared = comparison == '\0' ? 0 : std::stoll(word());
    need(" (");
    for (const client_versions* clients : all_client_versions)
      if (name == clients->name) return clients->include(version_);
    const std::int64_t value = amount(name, known, comes);
    return comparison == '=' ? value == compared : value > compared || (comparison == '\0' && value < 0);
  }

  // A number, the name of one, or two of them.
  std::int64_t amount(std::string_view text, const variables& known, bool comes) {
    if (const std::size_t at = text.find(' '); at != std::string_view::npos) {
      const std::int64_t first = amount(text.substr(0, at), known, comes);
      const std::int64_t second = amount(text.substr(at + 3), known, comes);
      return text[at + 1] == '*' ? first * second : first + second;
    }
    if (std::isdigit(static_cast<unsigned char>(text[0])) != 0) return std::stoll(std::string(text));
    deciding_.emplace(text);
    if (!comes) return 0;
    const auto found = known.find(text);
    if (found == known.end()) throw std::invalid_argument("no value " + std::string(text));
    return found->second;
  }

  std::string_view rest_;
  std::int32_t version_;
  const std::function<std::int64_t(const layout_value&)>& visit_;
  std::set<std::string, std::less<>> deciding_;
};

class unpacker {
 public:
  explicit unpacker(std::string_view data) : data_(data) {}

  std::int64_t take(const layout_value& value) {
    if (value.type == value_type::text) {
      const std::uint64_t size = unsigned_number(4);
      if (static_cast<std::int64_t>(size) >= value.limit) throw std::out_of_range("a text beyond its limit");
      tell(value, "Str(" + std::string(bytes_of(size)) + ")");
      for (char padding : bytes_of((4 - size % 4) % 4))
        if (padding != '\0') throw std::out_of_range("no zero behind a text");
      return 0;
    }
    const std::uint64_t image = unsigned_number(value.type == value_type::byte    ? 1
                                                : value.type == value_type::whole ? 4
                                                                                  : 8);
    if (value.type == value_type::byte) return 0;
    if (value.type == value_type::real) {
      char text[40];
      std::snprintf(text, sizeof text, "Dbl(%g)", std::bit_cast<double>(image));
      tell(value, text);
      return 0;
    }
    const bool is_wide = value.type == value_type::wide;
    const auto number = is_wide ? static_cast<std::int64_t>(image) : static_cast<std::int32_t>(image);
    tell(value, (is_wide ? "Long(64bits)(" : "Int(") + std::to_string(number) + ")");
    return number;
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
    if (value.type == value_type::real) return packet.f64(source.real(value)), 0;
    if (value.type == value_type::text) return packet.text(source.text(value)), 0;
    const std::int64_t number = source.number(value);
    const std::int64_t sent = source.sent(value, number);
    if (value.type == value_type::whole) packet.i32(static_cast<std::int32_t>(sent));
    if (value.type == value_type::wide) packet.i64(sent);
    if (value.type == value_type::byte) packet.u8(static_cast<int>(sent));
    return number;
  });
  return packet;
}

std::string packed_request(const request_row& row, value_source& source, std::int32_t client_version) {
  return bytes(row.name).str() + packed(row.arguments, source, client_version);
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
