// Texts without the blanks around them.
#pragma once

#include <algorithm>
#include <string_view>

namespace qrd::client {

inline std::string_view without_blanks_behind(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

inline std::string_view without_blanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return without_blanks_behind(text);
}

}  // namespace qrd::client
