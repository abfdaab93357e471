// The version of the library, by semantic versioning: headers and library of the same first number fit
// together.
#pragma once

#include "qrd/export.h"

namespace qrd::client {

// Such as "1.0.0".
QRD_EXPORT const char* library_version();

}  // namespace qrd::client
