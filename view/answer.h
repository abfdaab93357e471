// What the page asks for, and what it gets.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "command/json.h"
#include "qrd/table.h"

namespace qrd::view {

using command::json;

// The page asked for something that can't be.
class bad_query : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The parameters of a URL.
class query {
 public:
  explicit query(std::multimap<std::string, std::string> values) : values_(std::move(values)) {}

  // A parameter that has to be there is a bad_query where it isn't.
  const std::string& text(const std::string& name) const;
  std::string text_or(const std::string& name, const std::string& otherwise) const;
  std::vector<std::string> texts(const std::string& name) const;
  std::int64_t number(const std::string& name, std::int64_t least, std::int64_t most) const;
  std::int64_t number_or(const std::string& name, std::int64_t otherwise, std::int64_t least,
                         std::int64_t most) const;
  // From study, directory and file.
  client::file_place place() const;

 private:
  std::multimap<std::string, std::string> values_;
};

// An answer is whole, or comes in pieces so that its length costs no memory.
struct answer {
  std::string type = "application/json";
  std::string body;
  // The next piece; nothing behind the last one.
  std::function<std::string()> next;
};

answer json_answer(const json& value);

// A description and arrays in one answer: the length of the description (uint32), the description (JSON) with
// blanks up to a multiple of 8 behind both, numbers (float64), indices (uint32); all little-endian.
answer bundle_answer(const json& description, std::span<const double> numbers,
                     std::span<const std::uint32_t> indices);

// The bytes of values as the page takes them.
template <typename T>
std::string bytes_of(std::span<const T> values) {
  return {reinterpret_cast<const char*>(values.data()), values.size_bytes()};
}

}  // namespace qrd::view
