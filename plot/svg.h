// A picture as SVG 1.1. The same picture gives the same bytes on every machine: numbers have two decimals,
// and text stays text for the viewer's sans-serif font.
#pragma once

#include <string>

#include "plot/picture.h"

namespace qrd::plot {

std::string svg_text(const picture& drawn);

}  // namespace qrd::plot
