// What several subcommands print: descriptions, as lines for people or as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace qrd::command {

using json = nlohmann::ordered_json;

// A text that is not UTF-8 has its odd bytes replaced: JSON knows no other characters.
std::string json_text(const json& value, int indent = 2);

// Prints "key: value" lines with what lies deeper indented, or JSON.
void print_description(const json& value, bool as_json);

}  // namespace qrd::command
