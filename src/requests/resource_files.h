// What the requests for palettes and scales share.
#pragma once

namespace qrd {

enum class resources { palettes, scales, both };

// True if a root is open and what the request works with is still there; refuses otherwise.
bool resources_available(resources needed);

}  // namespace qrd
