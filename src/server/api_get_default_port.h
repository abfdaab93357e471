#pragma once

#include <cstdint>

namespace qrd {

// The port of the service "QRDserver", 5500 if the services table doesn't know it.
std::uint16_t QRDClientGetDefaultPort();

}  // namespace qrd
