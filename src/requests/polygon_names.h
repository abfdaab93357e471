// The names of polygons and of their contours on the wire.
#pragma once

#include <cstdint>

namespace qrd {

// With the zero at the end.
inline constexpr std::uint32_t wire_name_size = 16;

}  // namespace qrd
