// The path of a drill hole, from the directions that were measured along it.
//
// Minimum curvature: between two stations the path is an arc of a circle that has both directions as tangents
// (S. J. Sawaryn and J. L. Thorogood, A Compendium of Directional Calculations Based on the Minimum Curvature
// Method, SPE 84246). Balanced tangential: half the way in each of the two directions. Tangential: all the
// way in the upper one. From the collar to the first station, and below the last one, a hole is straight.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "qrd/types.h"

namespace qrd::command {

struct station {
  double depth = 0;    // along the hole, in the unit of the collar
  double azimuth = 0;  // degrees clockwise from north (Y)
  double dip = 90;     // degrees, positive downwards
};

enum class desurvey_method { minimum_curvature, balanced, tangential };
std::optional<desurvey_method> desurvey_method_of(std::string_view name);

// The angle between the directions of two stations, in radians.
double dogleg(const station& a, const station& b);
// By how much an arc's chord pair is longer than the arc: tan(alpha/2) / (alpha/2). alpha in [0, pi).
double ratio_factor(double alpha);

class hole_path {
 public:
  // REQUIRES: a station at least, depths that ascend, and no turn right round between two stations.
  hole_path(const client::point3& collar, std::vector<station> stations, desurvey_method method);

  // The place at a depth along the hole.
  client::point3 at(double depth) const;

 private:
  // To the place that lies `length` behind station i, of the method's curve to the next station.
  client::point3 behind(std::size_t i, double length) const;

  std::vector<station> stations_;
  std::vector<client::point3> places_;  // of the stations
  desurvey_method method_;
};

}  // namespace qrd::command
