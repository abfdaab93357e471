// The path of a drill hole.
#pragma once

#include <vector>

#include "client/types.h"

namespace qrd::command {

// From its depth down to the next station a hole keeps the direction measured there.
struct station {
  double depth = 0;    // along the hole
  double azimuth = 0;  // degrees clockwise from north (Y)
  double dip = 90;     // degrees, positive downwards
};

// The place at a depth along the hole, in the unit of the collar. Stations ascend in depth; above the first
// one its direction holds too, and without any the hole is vertical.
client::point3 place_in_hole(const client::point3& collar, const std::vector<station>& stations,
                             double depth);

}  // namespace qrd::command
