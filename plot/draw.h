// Pictures of a database: from what is asked for to a picture.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "plot/page.h"
#include "plot/picture.h"
#include "qrd/database.h"

namespace qrd::plot {

enum class kind {
  map,        // seen from above; of a 3D grid one level
  section,    // what lies near a vertical plane
  strip_log,  // values along one line
  histogram,
  scatter,
  palettes,  // all palettes of a study, or the named one
  scales,    // all colour scales of a study, or the named one
};

struct section_wish {
  point from;
  point to;
  std::optional<double> width;         // of the corridor; a tenth of its length
  std::optional<double> exaggeration;  // of heights; a round one that fills the picture
};

struct request {
  kind wanted = kind::map;
  client::file_place place;                  // of a sheet only the study
  std::vector<client::file_place> polygons;  // files whose objects are shown too
  std::vector<client::file_place> wireframes;
  std::vector<client::file_place> faults;
  std::vector<std::string> variables;  // a strip log takes several, the others one
  std::string against;                 // scatter: the variable upwards
  std::string index;                   // for macro variables named without one
  std::string selection;               // what it leaves out is not drawn
  std::string unit;                    // of all lengths; empty: each in its own
  std::string scale;                   // of the study; empty: none
  std::string palette;
  std::string line;                   // strip log: name or number
  std::optional<std::int64_t> level;  // of a grid, from 1; the middle one
  section_wish section;
  size whole;
  client::progress_function progress;
};

// What can't be drawn is an `error`: no such object, a text variable, nothing but missing values.
picture draw(client::database& owner, const request& wish);

}  // namespace qrd::plot
