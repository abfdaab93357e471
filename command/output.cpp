#include "command/output.h"

#include <cstdio>

#include "qrd/numbers.h"

namespace qrd::command {

namespace {

// A text, with the lines behind its first one indented.
void print_text(const std::string& text, int depth) {
  std::printf(" ");
  for (const char character : text.substr(0, text.find_last_not_of("\r\n") + 1)) {
    std::putchar(character);
    if (character == '\n') std::printf("%*s", 2 * depth + 2, "");
  }
}

// "key: value" lines, with what lies deeper indented.
void print_lines(const json& value, int depth) {
  const auto* members = value.as<json::members>();
  if (members == nullptr) return;
  for (const auto& [key, one] : *members) {
    std::printf("%*s%s:", 2 * depth, "", key.c_str());
    if (one.as<json::members>() != nullptr) {
      std::printf("\n");
      print_lines(one, depth + 1);
      continue;
    }
    const auto* elements = one.as<json::elements>();
    const bool has_elements = elements != nullptr && !elements->empty();
    if (has_elements && elements->front().as<json::members>() != nullptr) {
      std::printf(" %zu\n", elements->size());
      for (const json& item : *elements) print_lines(item, depth + 1);
      continue;
    }
    if (has_elements && elements->front().as<std::string>() != nullptr) {
      std::printf("\n");
      for (const json& item : *elements) std::printf("%*s%s\n", 2 * depth + 2, "", shown_text(item).c_str());
      continue;
    }
    if (has_elements)
      // What is missing holds its place among the others.
      for (const json& item : *elements) std::printf(" %s", item.is_null() ? "-" : shown_text(item).c_str());
    else if (one.as<std::string>() != nullptr)
      print_text(shown_text(one), depth);
    else if (elements == nullptr && !one.is_null())
      std::printf(" %s", shown_text(one).c_str());
    std::printf("\n");
  }
}

}  // namespace

std::string shown_text(const json& value) {
  if (const auto* text = value.as<std::string>()) return *text;
  if (const auto* is = value.as<bool>()) return *is ? "yes" : "no";
  if (const auto* number = value.as<std::int64_t>()) return std::to_string(*number);
  if (const auto* number = value.as<double>()) return client::number_text(*number);
  return {};
}

void print_description(const json& value, bool as_json) {
  if (as_json)
    std::printf("%s\n", json_text(value).c_str());
  else
    print_lines(value, 0);
}

}  // namespace qrd::command
