// What several subcommands print: descriptions, as lines for people or as JSON.
#pragma once

#include <string>

#include "command/json.h"

namespace qrd::command {

// A single value as people read it; empty for null, arrays and objects.
std::string shown_text(const json& value);

// Prints "key: value" lines with what lies deeper indented, or JSON.
void print_description(const json& value, bool as_json);

}  // namespace qrd::command
