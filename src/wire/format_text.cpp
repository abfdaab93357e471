#include "wire/format_text.h"

#include <cstdio>

namespace qrd {

std::string format_text(const char* format, va_list arguments) {
  char short_text[512];
  va_list again;
  va_copy(again, arguments);
  int length = std::vsnprintf(short_text, sizeof short_text, format, arguments);
  std::string text;
  if (length >= 0 && static_cast<std::size_t>(length) < sizeof short_text) {
    text.assign(short_text, static_cast<std::size_t>(length));
  } else if (length >= 0) {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

void format_field(char* text, std::size_t room, const char* format, va_list arguments) {
  if (std::vsnprintf(text, room, format, arguments) < 0) text[0] = '\0';
}

}  // namespace qrd
