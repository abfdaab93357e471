// What tells how colours and marks are to be read.
#pragma once

#include <string>
#include <vector>

#include "plot/colours.h"
#include "plot/page.h"

namespace qrd::plot {

struct legend_entry {
  look style;
  std::string words;
};

struct legend {
  std::string title;  // the variable with its unit
  colour_map colours;
  // Below: counts and whatever else has to be said.
  std::vector<std::string> notes;
  // Below these, what isn't samples.
  std::vector<legend_entry> objects = {};
};

// How wide a column it needs.
double width_of(const legend& of);

// From the top of the column; leaves `kept` free at its bottom.
void draw_legend(picture& on, const box& side, const legend& of, double kept);

// The frame of a map, and what stands beside it: the legend, the arrow, the scale bar.
void finish_map(page& on, const field& of, const std::string& unit, const legend& at_side);
// As much of the column as arrow and bar take.
constexpr double map_signs_height = 110;

}  // namespace qrd::plot
