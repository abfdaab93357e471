// What the pictures of data share: a heading, a field with axes, and a column at the side for what explains
// it.
#pragma once

#include <string>
#include <vector>

#include "plot/axis.h"
#include "plot/picture.h"

namespace qrd::plot {

constexpr rgb dark = {40, 40, 40};
constexpr rgb grey = {150, 150, 150};
constexpr rgb pale = {232, 232, 232};
constexpr rgb plain_mark = {31, 95, 140};  // of what has no value of its own to tell

// A part of a colour in the white of the paper.
rgb tint(const rgb& colour, double part);

struct size {
  double width = 800;
  double height = 600;
};

struct heading {
  std::string title;
  std::string below;
};

// What an axis is called, with its unit.
struct axis_titles {
  std::string x;
  std::string y;
};

// The field inside of the axes: from values to points of the paper.
struct field {
  box area;
  axis x;
  axis y;
  bool is_downwards = false;  // y grows downwards
  point at(double of_x, double of_y) const;
};

struct page {
  picture drawn;
  box room;  // for the field with its axes
  box side;
};

// A page with its heading, and a column of that width at its side.
page make_page(const size& whole, const heading& words, double side_width);

// "name (unit)".
std::string with_unit(const std::string& name, const std::string& unit);

// A field that fills its room, with axes for these ranges. Draws the frame, ticks, grid lines and titles.
field draw_field(picture& on, const box& room, const extent& x, const extent& y, const axis_titles& titles,
                 bool is_downwards = false);
// The same with a unit of y `exaggeration` times as long as one of x; ranges grow to fill the room.
field draw_map_field(picture& on, const box& room, const extent& x, const extent& y,
                     const axis_titles& titles, double exaggeration = 1);
// The frame once more, over what was drawn in the field.
void draw_frame(picture& on, const field& of);

// At the bottom of the column. Nothing behind a unit that isn't known.
void draw_scale_bar(picture& on, const box& side, const field& of, const std::string& unit);
void draw_north_arrow(picture& on, const box& side);

}  // namespace qrd::plot
