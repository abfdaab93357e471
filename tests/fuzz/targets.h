// What is fuzzed: the formats with the requests that read and change them, and conversations.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrd::fuzz {

// The first byte of an input says at which of the places the rest of it stands when the requests come.
struct format {
  const char* name;
  std::vector<std::string> places;  // below the root
  std::vector<std::string> requests;
  std::vector<std::string> gone = {};  // files that would hide those of the places
};

std::vector<format> formats(const std::string& root);

// Requests of every row of the table, with few values that mean much.
std::vector<std::string> requests_by_layout();

// Contents of old versions and compressed forms, which the server reads and never writes; inputs of a format.
std::vector<std::string> old_contents(const std::string& format_name);

}  // namespace qrd::fuzz
