// What a map shows beside samples: the polygons and the faults of a file.
#pragma once

#include "plot/page.h"
#include "plot/samples.h"
#include "qrd/objects.h"

namespace qrd::plot {

struct map_objects {
  std::vector<client::contour> contours;
  std::vector<client::fault> faults;  // those that are lines on a map

  bool is_empty() const { return contours.empty() && faults.empty(); }
  void add_to(extent& x, extent& y) const;
  // Polygons lie below samples, faults above them. With colours, each polygon has that of its sample: the
  // first one is that of the first sample.
  void draw_polygons(picture& on, const field& in, const sample_colours* colours = nullptr) const;
  void draw_faults(picture& on, const field& in) const;
};

map_objects objects_of(source& from);

// The frame, and what stands beside a map: the legend, the arrow, the scale bar.
void finish_map(page& on, const field& of, const std::string& unit, const legend& at_side);
// As much of the column as arrow and bar take.
constexpr double map_signs_height = 110;

}  // namespace qrd::plot
