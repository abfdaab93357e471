// What tells how colours and marks are to be read.
#pragma once

#include <string>
#include <vector>

#include "plot/colours.h"
#include "plot/picture.h"

namespace qrd::plot {

struct legend {
  std::string title;  // the variable with its unit
  colour_map colours;
  // Below: counts and whatever else has to be said.
  std::vector<std::string> notes;
};

// How wide a column it needs.
double width_of(const legend& of);

// From the top of the column; leaves `kept` free at its bottom.
void draw_legend(picture& on, const box& side, const legend& of, double kept);

}  // namespace qrd::plot
