#include "client/command/hole.h"

#include <cmath>
#include <numbers>

namespace qrd::command {

namespace {

void advance(client::point3& place, const station& direction, double length) {
  constexpr double radians = std::numbers::pi / 180;
  const double flat = std::cos(direction.dip * radians);
  place.x += length * flat * std::sin(direction.azimuth * radians);
  place.y += length * flat * std::cos(direction.azimuth * radians);
  place.z -= length * std::sin(direction.dip * radians);
}

}  // namespace

client::point3 place_in_hole(const client::point3& collar, const std::vector<station>& stations,
                             double depth) {
  client::point3 place = collar;
  if (stations.empty()) {
    place.z -= depth;
    return place;
  }
  double reached = 0;
  for (std::size_t i = 0; i < stations.size() && reached < depth; ++i) {
    const bool last = i + 1 == stations.size();
    const double end = last || stations[i + 1].depth > depth ? depth : stations[i + 1].depth;
    if (end <= reached) continue;
    advance(place, stations[i], end - reached);
    reached = end;
  }
  return place;
}

}  // namespace qrd::command
