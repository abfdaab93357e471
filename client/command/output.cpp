#include "client/command/output.h"

#include <cstdio>

#include "client/numbers.h"

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
  for (const auto& [key, one] : value.items()) {
    std::printf("%*s%s:", 2 * depth, "", key.c_str());
    if (one.is_object()) {
      std::printf("\n");
      print_lines(one, depth + 1);
      continue;
    }
    if (one.is_array() && !one.empty() && one[0].is_object()) {
      std::printf(" %zu\n", one.size());
      for (const json& item : one) print_lines(item, depth + 1);
      continue;
    }
    const auto print_one = [depth](const json& item) {
      if (item.is_string())
        print_text(item.get_ref<const std::string&>(), depth);
      else if (item.is_boolean())
        std::printf(" %s", item.get<bool>() ? "yes" : "no");
      else if (item.is_number_float())
        std::printf(" %s", client::number_text(item.get<double>()).c_str());
      else if (!item.is_null())
        std::printf(" %s", item.dump().c_str());
    };
    if (one.is_array() && !one.empty() && one[0].is_string()) {
      std::printf("\n");
      for (const json& item : one)
        std::printf("%*s%s\n", 2 * depth + 2, "", item.get_ref<const std::string&>().c_str());
      continue;
    }
    if (one.is_array())
      for (const json& item : one) {
        // What is missing holds its place among the others.
        if (item.is_null())
          std::printf(" -");
        else
          print_one(item);
      }
    else
      print_one(one);
    std::printf("\n");
  }
}

}  // namespace

std::string json_text(const json& value, int indent) {
  return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

void print_description(const json& value, bool as_json) {
  if (as_json)
    std::printf("%s\n", json_text(value).c_str());
  else
    print_lines(value, 0);
}

}  // namespace qrd::command
