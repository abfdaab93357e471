#include "plot/svg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace qrd::plot {

namespace {

// Two decimals are enough for a hundredth of a point; the zeros behind them go. What lies far outside of the
// picture is as invisible nearer by.
std::string number(double value) {
  constexpr double farthest = 100000;
  const double shown = std::isfinite(value) ? std::clamp(value, -farthest, farthest) : 0;
  std::array<char, 32> digits{};
  std::snprintf(digits.data(), digits.size(), "%.2f", shown);
  std::string text = digits.data();
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text == "-0" ? "0" : text;
}

std::string colour_text(const rgb& colour) {
  std::array<char, 8> digits{};
  unsigned shown[3];
  for (std::size_t i = 0; i < 3; ++i) shown[i] = static_cast<unsigned>(std::clamp(colour[i], 0, 255));
  std::snprintf(digits.data(), digits.size(), "#%02x%02x%02x", shown[0], shown[1], shown[2]);
  return digits.data();
}

std::string escaped(const std::string& text) {
  std::string shown;
  for (const char character : text) {
    if (character == '&')
      shown += "&amp;";
    else if (character == '<')
      shown += "&lt;";
    else if (character == '>')
      shown += "&gt;";
    else
      shown += character;
  }
  return shown;
}

std::string attributes(const look& style) {
  std::string text = " fill=\"" + (style.fill ? colour_text(*style.fill) : "none") + "\"";
  if (style.fill && style.opacity < 1) text += " fill-opacity=\"" + number(style.opacity) + "\"";
  if (style.line)
    text += " stroke=\"" + colour_text(*style.line) + "\" stroke-width=\"" + number(style.width) + "\"";
  if (style.hard_edges) text += " shape-rendering=\"crispEdges\"";
  return text;
}

class svg_writer {
 public:
  explicit svg_writer(const picture& drawn) {
    const std::string width = number(drawn.width), height = number(drawn.height);
    text_ =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
        width + "pt\" height=\"" + height + "pt\" viewBox=\"0 0 " + width + " " + height +
        "\" font-family=\"sans-serif\">\n"
        "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
  }

  void operator()(const path& one) {
    text_ += "<path d=\"";
    for (const std::vector<point>& part : one.parts) {
      char step = 'M';
      for (const point& at : part) {
        text_ += step + number(at.x) + " " + number(at.y);
        step = 'L';
      }
      if (one.closed) text_ += 'Z';
    }
    text_ += "\"" + attributes(one.style);
    if (one.closed && !one.overlaps) text_ += " fill-rule=\"evenodd\"";
    text_ += " stroke-linejoin=\"round\"/>\n";
  }

  void operator()(const circle& one) {
    text_ += "<circle cx=\"" + number(one.centre.x) + "\" cy=\"" + number(one.centre.y) + "\" r=\"" +
             number(one.radius) + "\"" + attributes(one.style) + "/>\n";
  }

  void operator()(const label& one) {
    constexpr const char* anchors[] = {"start", "middle", "end"};
    const std::string x = number(one.at.x), y = number(one.at.y);
    text_ += "<text x=\"" + x + "\" y=\"" + y + "\" font-size=\"" + number(one.size) + "\" text-anchor=\"" +
             anchors[static_cast<int>(one.side)] + "\" fill=\"" + colour_text(one.colour) + "\"";
    if (one.bold) text_ += " font-weight=\"bold\"";
    if (one.upwards) text_ += " transform=\"rotate(-90 " + x + " " + y + ")\"";
    text_ += " xml:space=\"preserve\">" + escaped(one.words) + "</text>\n";
  }

  void operator()(const clip& one) {
    if (open_) text_ += "</g>\n";
    open_ = one.area.has_value();
    if (!open_) return;
    const std::string name = "c" + std::to_string(++clips_);
    const box& area = *one.area;
    text_ += "<clipPath id=\"" + name + "\"><rect x=\"" + number(area.left) + "\" y=\"" + number(area.top) +
             "\" width=\"" + number(area.width) + "\" height=\"" + number(area.height) +
             "\"/></clipPath>\n<g clip-path=\"url(#" + name + ")\">\n";
  }

  std::string finished() {
    (*this)(clip{});
    return text_ + "</svg>\n";
  }

 private:
  std::string text_;
  int clips_ = 0;
  bool open_ = false;
};

}  // namespace

std::string svg_text(const picture& drawn) {
  svg_writer writer(drawn);
  for (const shape& one : drawn.shapes) std::visit(writer, one);
  return writer.finished();
}

}  // namespace qrd::plot
