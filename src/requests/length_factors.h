// The client's length factors for the coordinates of a geometry.
#pragma once

#include "requests/context.h"
#include "units/qu_units.h"

namespace qrd {

// Centimetres per unit of the client, axis by axis.
struct unit_divisors {
  double x, y, z;
};

// For an object whose coordinates have these formats.
inline unit_divisors client_units(const qd_format_record& x, const qd_format_record& y,
                                  const qd_format_record& z) {
  if (current_context.unit_mode == 0)
    return {distance_format.factor, distance_format.factor, distance_format.factor};
  return {qu_format_factor(x), qu_format_factor(y), qu_format_factor(z)};
}

}  // namespace qrd
