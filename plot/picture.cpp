#include "plot/picture.h"

#include <utility>

#include "qrd/utf_8.h"

namespace qrd::plot {

namespace {

// What can stand in an SVG as it is: XML has no place for U+FFFE and U+FFFF.
bool is_for_xml(std::string_view text) {
  return client::is_utf_8(text) && text.find("\xef\xbf\xbe") == std::string_view::npos &&
         text.find("\xef\xbf\xbf") == std::string_view::npos;
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
  std::string shown = is_for_xml(text) ? std::string(text) : client::utf_8_of_latin_1(text);
  for (char& character : shown) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7f) character = ' ';
  }
  return shown;
}

std::string counted(std::uint64_t count, std::string several) {
  if (count == 1) several.pop_back();
  return std::to_string(count) + " " + several;
}

}  // namespace qrd::plot
