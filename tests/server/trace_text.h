// The lines of a trace without the time of day that begins each.
#pragma once

#include <cctype>
#include <string>
#include <string_view>

namespace qrd::test {

// A line that doesn't begin with "hh:mm:ss: " stays as it is.
inline std::string without_times(std::string_view trace) {
  auto begins_with_time = [](std::string_view line) {
    constexpr std::string_view form = "00:00:00: ";
    if (line.size() < form.size()) return false;
    for (std::size_t i = 0; i < form.size(); ++i) {
      bool fits =
          form[i] == '0' ? std::isdigit(static_cast<unsigned char>(line[i])) != 0 : line[i] == form[i];
      if (!fits) return false;
    }
    return true;
  };
  std::string result;
  while (!trace.empty()) {
    std::string_view line = trace.substr(0, trace.find('\n') + 1);
    if (line.empty()) line = trace;
    trace.remove_prefix(line.size());
    result += begins_with_time(line) ? line.substr(10) : line;
  }
  return result;
}

}  // namespace qrd::test
