// The client's length factors for the coordinates of a geometry.
#pragma once

#include "catalogue/qd_info.h"
#include "units/qu_units.h"

namespace qrd {

// Centimetres per unit of the client, axis by axis.
struct unit_divisors {
  double x = 1.0, y = 1.0, z = 1.0;
};

// For an object whose coordinates have these formats.
unit_divisors client_units(const qd_format_record& x, const qd_format_record& y, const qd_format_record& z);
// For a file of that dimension with these variables, which count where `unit_mode` is set. False after a
// refusal: it lacks coordinates of its dimension.
bool find_client_units(const role_records& roles, std::int64_t dimension, unit_divisors& unit);

}  // namespace qrd
