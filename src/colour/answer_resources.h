// What the requests for palettes and scales share.
#pragma once

namespace qrd {

// True if a root is open and its study is still there; refuses otherwise.
bool resources_available();

}  // namespace qrd
