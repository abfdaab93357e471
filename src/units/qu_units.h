// Length units and format records. Lengths are stored in centimetres; a client's value is the stored
// value divided by a factor, the number of centimetres per unit.
#pragma once

#include <cstdint>

#include "util/qu_constants.h"

namespace qrd {

enum number_format : std::int64_t {
  FORMAT_FREE = 0,
  FORMAT_INTEGER = 1,
  FORMAT_DECIMAL = 2,
  FORMAT_EXPONENT = 3,
  FORMAT_SHIFTED = 4
};

struct qd_format_record {
  std::int64_t format = FORMAT_DECIMAL;  // number_format
  std::int64_t width = 10;               // 3 to 19
  std::int64_t digits = 2;               // 0 to 9, at most width - 3
  std::int64_t length_flag = 0;          // 1: a length with a unit
  unit_text unit = "";                   // symbol or display text
  double factor = 1.0;                   // centimetres per unit; 1.0 when there is no length unit
};

struct length_unit {
  const char* symbol;
  const char* name;
  double factor;  // cm
};
inline constexpr length_unit length_units[] = {
    {"micr", "Micron", 0.0001},
    {"mm", "Millimeter", 0.1},
    {"cm", "Centimeter", 1.0},
    {"dm", "Decimeter", 10.0},
    {"m", "Meter", 100.0},
    {"dam", "Decameter", 1000.0},
    {"hm", "Hectometer", 10000.0},
    {"km", "Kilometer", 100000.0},
    {"in", "Inch", 2.54},
    {"ft", "Foot", 30.48},
    {"yd", "Yard", 91.44},
    {"mile", "Mile", 160934.4},
    {"nmil", "Nautical Mile", 185200.0},
    {"dakm", "10 Kilometers", 1000000.0},
    {"hkm", "100 Kilometers", 10000000.0},
    {"kkm", "1000 Kilometers", 100000000.0},
};

// The bounds of width and number of decimals.
inline constexpr std::int64_t smallest_width = 3;
inline constexpr std::int64_t largest_width = 19;
inline constexpr std::int64_t largest_digits = 9;

// What a variable without a length gets.
inline constexpr qd_format_record float_default;

inline constexpr double metre_factor = 100.0;
inline constexpr qd_format_record metres = {FORMAT_DECIMAL, 10, 2, 1, "m", metre_factor};

struct unit_state {
  // The open study keeps lengths with units.
  bool kept = true;
  // The units in which the client talks.
  qd_format_record distance = metres;
  qd_format_record axis_x = metres;
  qd_format_record axis_y = metres;
  qd_format_record axis_z = metres;
  // That of axis 0, 1 or 2.
  qd_format_record& axis(int axis) { return axis == 0 ? axis_x : axis == 1 ? axis_y : axis_z; }
};
extern unit_state units;

// Centimetres per unit of a stored format, the factor of all that travels in it: a stored factor doesn't
// count in a study without units.
double qu_format_factor(const qd_format_record& format);
// 1 if the symbol is a length unit. The factor is the unit's in a study that keeps units, and 1.0 otherwise.
int qu_unit_factor(const char* symbol, double* factor);
// The name that belongs to a factor, or null.
const char* qu_unit_name(double factor);
void qu_format_copy(const qd_format_record& source, qd_format_record& destination);
void qu_format_default(qd_format_record& destination);
// Fills a record from the words of a parameter file.
void qu_format_set(const char* format, const char* width, const char* digits, const char* unit,
                   std::int64_t length_flag, double factor, qd_format_record& destination);
// Sets the distance format and the three axis formats to metres ("Decimal", 10, 2, "m").
void qu_formats_reset();

}  // namespace qrd
