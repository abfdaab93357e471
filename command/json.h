// JSON values. Only json.cpp knows the library that writes them.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace qrd::command {

// A value that converts from what it stands for. Members of an object stay in the order in which they came.
class json {
 public:
  using elements = std::vector<json>;
  using member = std::pair<std::string, json>;
  using members = std::vector<member>;

  // NOLINTBEGIN(google-explicit-constructor): a value is written down where JSON is wanted.
  json(std::nullptr_t = nullptr) {}
  json(double value) : value_(value) {}
  json(const char* text) : value_(std::string(text)) {}
  json(std::string text) : value_(std::move(text)) {}
  json(std::string_view text) : value_(std::string(text)) {}
  // A pointer is no truth value.
  template <std::same_as<bool> T>
  json(T value) : value_(value) {}
  template <std::integral T>
  requires(!std::same_as<T, bool>) json(T value) : value_(static_cast<std::int64_t>(value)) {}
  json(elements values) : value_(std::move(values)) {}
  template <typename T>
  json(const std::vector<T>& values) : value_(elements(values.begin(), values.end())) {}
  template <typename T, std::size_t count>
  json(const std::array<T, count>& values) : value_(elements(values.begin(), values.end())) {}
  json(std::initializer_list<member> of_object) : value_(members(of_object)) {}
  // NOLINTEND(google-explicit-constructor)
  static json array(std::initializer_list<json> values = {}) { return elements(values); }
  static json of(members all) {
    json object;
    object.value_ = std::move(all);
    return object;
  }

  // Nothing where the value is of another type.
  template <typename T>
  const T* as() const {
    return std::get_if<T>(&value_);
  }
  bool is_null() const { return as<std::nullptr_t>() != nullptr; }
  // Of a number of either kind.
  std::optional<double> number() const;

  // Of an array.
  void push_back(json value);
  // Of an object: a member that isn't there is made by the first, null for the second.
  json& operator[](const std::string& name);
  const json& operator[](const std::string& name) const;
  bool contains(const std::string& name) const;
  void append(const json& object);

 private:
  std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, elements, members> value_;
};

// A text that is not UTF-8 has its odd bytes replaced: JSON knows no other characters. Without an indent all
// stands on one line.
std::string json_text(const json& value, int indent = 2);

// The value that a text stands for. An `error` for what is no JSON, or lies too deep.
json parse_json(std::string_view text);

}  // namespace qrd::command
