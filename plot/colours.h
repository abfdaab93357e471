// From values to colours: the scales and palettes of a database, and a ramp for what has none.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "plot/axis.h"
#include "qrd/resources.h"

namespace qrd::plot {

using client::rgb;

// Values from `low` on and below `high`, which counts too where no other class takes it; of two the later
// one.
struct colour_class {
  double low = 0;
  double high = 0;
  rgb colour{};
  std::string label;  // empty: the bounds tell it
};

struct colour_map {
  std::vector<colour_class> classes;
  // The classes are equal steps that follow each other: a bar shows them, else a list.
  bool is_even = false;
  // Of equal steps: what lies beyond them takes the colour of the end.
  bool is_open = false;

  // Nothing for a value that is missing or in no class.
  std::optional<rgb> colour_of(double value) const;
};

// Colours from a dark violet over green to a light yellow, with equal distances for the eye.
std::vector<rgb> even_ramp(std::size_t count);

// So many colours spread over the palette, both of its ends included; of an empty one over the even ramp.
std::vector<rgb> spread(std::span<const rgb> palette, std::size_t count);

// As many equal steps as there are colours. REQUIRES: colours.
colour_map even_map(const extent& range, std::span<const rgb> colours);

// The even ramp over all values; without the outermost 2 % at each end if they take more than half of the
// range.
colour_map default_map(std::span<const double> values);

// What a colour scale makes of these values. The kinds: automatic, equal steps from the lowest value to the
// highest; classes, bounds such that each class holds as many values; manual, its own bounds with colours of
// the palette; facies, its own intervals, colours and labels. What lies in none of its classes has no colour.
colour_map scale_map(const client::colour_scale& scale, std::span<const rgb> palette,
                     std::span<const double> values);

// For a selection: what it leaves out, and what it takes.
colour_map selection_map();

}  // namespace qrd::plot
