#include "command/json.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

#include "qrd/error.h"

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

// Deeper ones would need more stack than there may be.
constexpr int deepest = 64;

json from_written(const written& value) {
  switch (value.type()) {
    case written::value_t::object: {
      json::members all;
      for (const auto& [name, one] : value.items()) all.emplace_back(name, from_written(one));
      return json::of(std::move(all));
    }
    case written::value_t::array: {
      json::elements all;
      for (const written& one : value) all.push_back(from_written(one));
      return all;
    }
    case written::value_t::string:
      return value.get<std::string>();
    case written::value_t::boolean:
      return value.get<bool>();
    case written::value_t::number_integer:
      return value.get<std::int64_t>();
    case written::value_t::number_unsigned:
    case written::value_t::number_float: {
      const auto* whole = value.get_ptr<const std::uint64_t*>();
      if (whole != nullptr && *whole <= std::numeric_limits<std::int64_t>::max())
        return static_cast<std::int64_t>(*whole);
      return value.get<double>();
    }
    default:
      return nullptr;
  }
}

}  // namespace

std::optional<double> json::number() const {
  if (const auto* whole = as<std::int64_t>()) return static_cast<double>(*whole);
  if (const auto* value = as<double>()) return *value;
  return std::nullopt;
}

json parse_json(std::string_view text) {
  const auto check_depth = [](int depth, written::parse_event_t /*event*/, const written& /*value*/) {
    if (depth > deepest)
      throw client::error("the JSON lies deeper than " + std::to_string(deepest) + " levels");
    return true;
  };
  try {
    return from_written(written::parse(text.begin(), text.end(), check_depth));
  } catch (const nlohmann::json::exception& problem) {
    throw client::error(std::string("this is not JSON: ") + problem.what());
  }
}

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
