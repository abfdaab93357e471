// The body of polygon files of versions 1 to 3. First each contour, as a polygon of its own:
//
//   xstring(16)  name
//   xint         marked
//   xdouble x 2  center x, y; from version 2 a third one, which counts for nothing
//   xdouble x 2  z limits
//   xint         has-grid (1: a grid block follows)
//   ring         xint count, then xdouble x, y of each vertex
//
// Then the compounds, each with the contours that it joins to one polygon:
//
//   xint         n, then n xstring(16), the contours' names
//   xstring(16)  the polygon's name
//   xint x 3     red, green, blue; from version 2 a fourth one, the attribute
//   xdouble x 3  center, from version 2
#pragma once

#include <cstdint>

#include "disk/qd_polygon_format.h"

namespace qrd {

// False after a failed or refused item; `bytes_left` bounds what counts may promise.
bool qd_polygon_compounds_read(XDR* xdr, const polygon_header& header, std::int64_t bytes_left,
                               polygon_system& system);

}  // namespace qrd
