#include "qrd/utf_8.h"

#include <cstddef>

namespace qrd::client {

namespace {

// The bytes of the character that begins there, 0 for none.
std::size_t utf_8_size(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t size = first >= 0xF5 ? 0 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
  if (size == 0 || text.size() < size) return 0;
  for (std::size_t i = 1; i < size; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 0;
  // Longer than need be, halves of pairs, and beyond the last character.
  if ((first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
      (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F))
    return 0;
  return size;
}

}  // namespace

bool is_utf_8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = utf_8_size(text);
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

std::string utf_8_of_latin_1(std::string_view text) {
  std::string result;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x80) {
      result += character;
    } else {
      result += static_cast<char>(0xC0 | byte >> 6);
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return result;
}

}  // namespace qrd::client
