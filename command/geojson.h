// Points and polygons as GeoJSON (RFC 7946). Coordinates stand as they are: which system they are of nobody
// tells.
#pragma once

#include <string>
#include <vector>

#include "command/json.h"
#include "qrd/objects.h"

namespace qrd::command {

// Whether a file of that name is taken for one.
bool is_geojson_name(std::string_view path);

// The points as a table: columns x, y and z, if all have one, and the properties. What is no point is an
// `error`.
std::string points_as_csv(const json& document);

// Each ring of the polygons is a contour. A polygon has its "name", or a number; a contour what "contours"
// lists, or a number too. Names are at most 15 characters.
std::vector<client::contour> contours_of(const json& document);
// A ring within another one is a hole of it, one within that again stands for itself. A feature stands on a
// line.
std::string polygons_as_geojson(const client::polygon_set& polygons);

}  // namespace qrd::command
