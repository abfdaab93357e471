// The layout of wireframe files: the companion "WIREFRAME" of a 3D points file with one sample per object.
// XDR:
//
//   xint x 4      version (3 is written), objects, vertices, triangles
//   xdouble x 6   x, y, z: minimum and maximum each (version 1 has another order); only written
//   objects:
//     xstring(50)  name
//     xint x 4     red, green, blue, number of pieces
//     pieces:
//       xint         piece type, from version 3
//       xint         vertex count, then xdouble x, y, z of each
//       xint         triangle count, then three xint vertex indices of each
//       xint         closed
#pragma once

#include <cstdint>
#include <optional>

#include "disk/object_names.h"
#include "disk/qu_wireframe.h"
#include "util/qu_xdr.h"

namespace qrd {

inline constexpr std::int64_t wireframe_version = 3;

struct wireframe_header {
  std::int64_t version = wireframe_version;
  std::int64_t objects = 0, vertices = 0, triangles = 0;
  double box[6] = {};  // x, y, z: minimum and maximum each
};

// All of these give false after a failed or refused item.
bool qd_wireframe_header_read(XDR* xdr, wireframe_header& header);
// The header and all objects. `bytes_left` bounds what counts may promise; only objects of the kept names
// join the root.
bool qd_wireframe_body_read(XDR* xdr, std::int64_t bytes_left, const std::optional<object_name_set>& kept,
                            wireframe& root);
bool qd_wireframe_body_write(XDR* xdr, wireframe& root);

}  // namespace qrd
