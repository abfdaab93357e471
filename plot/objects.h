// What a picture shows beside samples: polygons, wireframes and faults, of its own file and of others.
#pragma once

#include "plot/cut.h"
#include "plot/samples.h"

namespace qrd::plot {

// How an object is painted: with its own colour, or with that of the value of its sample, if it has one.
struct paint {
  std::optional<rgb> colour;
  bool is_value = false;
  look style() const;
};

struct polygon {
  std::string name;
  std::vector<client::contour> rings;
  bool has_levels = false;  // else it goes through all heights
  paint with;
};

// Triangles under one name: a wireframe, or a fault in three dimensions.
struct surface {
  std::string name;
  std::vector<triangle> triangles;
  paint with;
};

struct objects {
  std::vector<polygon> polygons;
  std::vector<surface> wireframes;
  std::vector<client::fault> fault_lines;  // of the map
  std::vector<surface> fault_surfaces;

  // The samples of the file are its polygons or wireframes, which then stand first.
  bool are_samples = false;
  std::size_t own = 0;  // how many these are

  // "polygons" or "wireframes", where these are the samples.
  const char* noun() const { return polygons.empty() ? "wireframes" : "polygons"; }
  // Leaves of the samples those that are chosen, in the colours of their values if there are some.
  void choose(const chosen_samples& chosen, const sample_colours* colours);
  std::vector<legend_entry> entries() const;

  // From above.
  void add_to(extent& x, extent& y) const;
  // Polygons lie below samples, and see-through above the cells of a grid; all else is above both.
  void draw_polygons(picture& on, const field& in, const std::string& unit, bool lie_above = false) const;
  void draw_above(picture& on, const field& in) const;
};

// Those of the file, and of the files that the request names.
objects objects_of(source& from);

// What a section cuts of them.
class cut_objects {
 public:
  cut_objects(const objects& of, const plane& by);
  // Of what is cut at a height.
  const extent& heights() const { return heights_; }
  const std::vector<legend_entry>& entries() const { return entries_; }
  void draw(picture& on, const field& in) const;

 private:
  struct area {  // of a polygon
    extent along;
    extent heights;  // empty: all
    look style;
  };

  extent heights_;
  std::vector<legend_entry> entries_;
  std::vector<area> areas_;
  std::vector<std::pair<rgb, std::vector<cut_line>>> lines_;
  std::vector<double> walls_;  // of faults without a height
};

}  // namespace qrd::plot
