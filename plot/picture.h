// A picture as a list of shapes, in points (1/72 inch) from its upper left corner. It knows of no file
// format.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qrd/resources.h"

namespace qrd::plot {

// 0 to 255 each.
using client::rgb;

struct point {
  double x = 0;
  double y = 0;
  bool operator==(const point&) const = default;
};

struct box {
  double left = 0;
  double top = 0;
  double width = 0;
  double height = 0;
  double right() const { return left + width; }
  double bottom() const { return top + height; }
};

// Without `fill` and `line` nothing is drawn.
struct look {
  std::optional<rgb> fill;
  std::optional<rgb> line;
  double width = 0.75;  // of the line
  // The edges of what is filled stay hard: shapes side by side leave no seam.
  bool hard_edges = false;
  double opacity = 1;  // of what is filled
};

struct path {
  std::vector<std::vector<point>> parts;
  bool closed = false;
  look style;
  // What several of the closed parts go round is filled, too, if all go round the same way; else it is left
  // out where their number is even.
  bool overlaps = false;
};

struct circle {
  point centre;
  double radius = 2;
  look style;
};

enum class anchor { start, middle, end };

struct label {
  point at;  // on the base line
  std::string words;
  double size = 10;
  anchor side = anchor::start;
  bool upwards = false;  // read from below
  bool bold = false;
  rgb colour = {40, 40, 40};
};

// What follows is drawn inside only; everywhere without an area.
struct clip {
  std::optional<box> area;
};

using shape = std::variant<path, circle, label, clip>;

struct picture {
  double width = 0;
  double height = 0;
  std::vector<shape> shapes;

  void add_line(point from, point to, const look& style);
  void add_box(const box& area, const look& style);
  void add_label(label words);
};

// About how wide the words become. The same everywhere: no font of the machine is asked.
double width_of(std::string_view words, double size);
// The words, cut to that width with "…" behind them if they are wider.
std::string fitted(const std::string& words, double size, double width);
// As UTF-8 that every format takes: another text is read as Latin-1, and control characters become blanks.
std::string shown_text(std::string_view text);

// "1 line", "2 lines". REQUIRES: the word of several ends with the s that one goes without.
std::string counted(std::uint64_t count, std::string several);

}  // namespace qrd::plot
