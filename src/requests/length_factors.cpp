#include "requests/length_factors.h"

#include "requests/context.h"
#include "wire/answer.h"

namespace qrd {

unit_divisors client_units(const qd_format_record& x, const qd_format_record& y, const qd_format_record& z) {
  if (current_context.unit_mode == 0)
    return {units.distance.factor, units.distance.factor, units.distance.factor};
  return {qu_format_factor(x), qu_format_factor(y), qu_format_factor(z)};
}

bool find_client_units(const role_records& roles, std::int64_t dimension, unit_divisors& unit) {
  qd_format_record x = units.distance, y = units.distance, z = units.distance;
  if (current_context.unit_mode != 0 && !qd_coordinates_formats(roles, dimension, &x, &y, &z))
    return refuse("Cannot get coords formats");
  unit = client_units(x, y, z);
  return true;
}

}  // namespace qrd
