#include "command/json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace qrd::command {

namespace {

using written = nlohmann::ordered_json;

written to_written(const json& value) {
  if (const auto* all = value.as<json::elements>()) {
    written array = written::array();
    for (const json& one : *all) array.push_back(to_written(one));
    return array;
  }
  if (const auto* all = value.as<json::members>()) {
    written object = written::object();
    for (const auto& [name, one] : *all) object[name] = to_written(one);
    return object;
  }
  if (const auto* text = value.as<std::string>()) return *text;
  if (const auto* is = value.as<bool>()) return *is;
  if (const auto* number = value.as<std::int64_t>()) return *number;
  if (const auto* number = value.as<double>()) return *number;
  return nullptr;
}

}  // namespace

void json::push_back(json value) {
  std::get<elements>(value_).push_back(std::move(value));
}

json& json::operator[](const std::string& name) {
  auto& all = std::get<members>(value_);
  const auto place =
      std::find_if(all.begin(), all.end(), [&](const member& one) { return one.first == name; });
  return place != all.end() ? place->second : all.emplace_back(name, nullptr).second;
}

const json& json::operator[](const std::string& name) const {
  static const json nothing;
  const auto* all = as<members>();
  if (all == nullptr) return nothing;
  const auto place =
      std::find_if(all->begin(), all->end(), [&](const member& one) { return one.first == name; });
  return place != all->end() ? place->second : nothing;
}

bool json::contains(const std::string& name) const {
  return !(*this)[name].is_null();
}

void json::append(const json& object) {
  for (const auto& [name, value] : std::get<members>(object.value_)) (*this)[name] = value;
}

std::string json_text(const json& value, int indent) {
  return to_written(value).dump(indent, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace qrd::command
