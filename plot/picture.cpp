#include "plot/picture.h"

#include <cstdint>
#include <utility>

namespace qrd::plot {

namespace {

// The bytes of the character that begins here; 0 if none does.
std::size_t character_bytes(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return 1;
  const std::size_t bytes = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || text.size() < bytes) return 0;
  std::uint32_t code = first & (0x7f >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xc0) != 0x80) return 0;
    code = code << 6 | (next & 0x3f);
  }
  constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_surrogate = code >= 0xd800 && code < 0xe000;
  // XML has no place for the last two.
  const bool is_allowed = code < 0xfffe || code > 0xffff;
  return code >= least[bytes] && code <= 0x10ffff && !is_surrogate && is_allowed ? bytes : 0;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t bytes = character_bytes(text);
    if (bytes == 0) return false;
    text.remove_prefix(bytes);
  }
  return true;
}

// In parts of the size.
double width_of_character(unsigned char character) {
  if (std::string_view("iIjl.,:;'|!()[] ft").find(static_cast<char>(character)) != std::string_view::npos)
    return 0.36;
  if (std::string_view("mwMW%@").find(static_cast<char>(character)) != std::string_view::npos) return 0.95;
  return character >= 'A' && character <= 'Z' ? 0.7 : 0.61;
}

}  // namespace

void picture::add_line(point from, point to, const look& style) {
  shapes.emplace_back(path{{{from, to}}, false, style});
}

void picture::add_box(const box& area, const look& style) {
  shapes.emplace_back(path{{{{area.left, area.top},
                             {area.right(), area.top},
                             {area.right(), area.bottom()},
                             {area.left, area.bottom()}}},
                           true,
                           style});
}

void picture::add_label(label words) {
  words.words = shown_text(words.words);
  if (!words.words.empty()) shapes.emplace_back(std::move(words));
}

double width_of(std::string_view words, double size) {
  double width = 0;
  for (const char character : words) {
    const auto byte = static_cast<unsigned char>(character);
    // Of a character of several bytes only the first counts.
    if ((byte & 0xc0) != 0x80) width += width_of_character(byte);
  }
  return width * size;
}

std::string fitted(const std::string& words, double size, double width) {
  std::string cut = shown_text(words);
  if (width_of(cut, size) <= width) return cut;
  while (!cut.empty() && width_of(cut + "…", size) > width) {
    while ((cut.back() & 0xc0) == 0x80) cut.pop_back();
    cut.pop_back();
  }
  return cut + "…";
}

std::string shown_text(std::string_view text) {
  std::string shown;
  const bool as_it_is = is_utf8(text);
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7f)
      shown += ' ';
    else if (as_it_is || byte < 0x80)
      shown += character;
    else
      shown.append({static_cast<char>(0xc0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3f))});
  }
  return shown;
}

}  // namespace qrd::plot
