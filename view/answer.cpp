#include "view/answer.h"

#include <bit>
#include <charconv>

namespace qrd::view {

static_assert(std::endian::native == std::endian::little, "arrays are sent as they lie in memory");

const std::string& query::text(const std::string& name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) throw bad_query("\"" + name + "\" is not given");
  return found->second;
}

std::string query::text_or(const std::string& name, const std::string& otherwise) const {
  const auto found = values_.find(name);
  return found == values_.end() ? otherwise : found->second;
}

std::vector<std::string> query::texts(const std::string& name) const {
  std::vector<std::string> all;
  const auto [begin, end] = values_.equal_range(name);
  for (auto one = begin; one != end; ++one) all.push_back(one->second);
  return all;
}

std::int64_t query::number(const std::string& name, std::int64_t least, std::int64_t most) const {
  const std::string& digits = text(name);
  std::int64_t value = 0;
  const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (problem != std::errc() || end != digits.data() + digits.size() || value < least || value > most)
    throw bad_query("\"" + name + "\" is no number from " + std::to_string(least) + " to " +
                    std::to_string(most));
  return value;
}

std::int64_t query::number_or(const std::string& name, std::int64_t otherwise, std::int64_t least,
                              std::int64_t most) const {
  return values_.contains(name) ? number(name, least, most) : otherwise;
}

client::file_place query::place() const {
  return {text("study"), text("directory"), text("file")};
}

answer json_answer(const json& value) {
  return {"application/json", command::json_text(value, -1), {}};
}

answer bundle_answer(const json& description, std::span<const double> numbers,
                     std::span<const std::uint32_t> indices) {
  constexpr std::size_t alignment = 8;
  std::string head = command::json_text(description, -1);
  head.append((alignment - (sizeof(std::uint32_t) + head.size()) % alignment) % alignment, ' ');
  const auto size = static_cast<std::uint32_t>(head.size());
  std::string body = bytes_of(std::span(&size, 1));
  body.reserve(body.size() + head.size() + numbers.size_bytes() + indices.size_bytes());
  return {"application/octet-stream", body + head + bytes_of(numbers) + bytes_of(indices), {}};
}

}  // namespace qrd::view
