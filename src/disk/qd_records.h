// What the catalogue says about files and variables, in memory.
#pragma once

#include <cstdint>

#include "units/qu_units.h"
#include "util/qu_constants.h"

namespace qrd {

// Version word of every descriptor that this program writes.
inline constexpr std::int64_t DESCRIPTOR_VERSION = 1100;
// Samples by which data files grow.
inline constexpr std::int64_t block_samples = 512;
// Longest name that a descriptor may hold.
inline constexpr std::uint32_t descriptor_name_limit = 50;

enum file_organisation : std::int64_t {
  ORG_POINTS = 1,
  ORG_LINES_GRAVITY = 2,  // one position per sample
  ORG_LINES_CORES = 3,    // begin and end per sample
  ORG_ANY_LINES = 4,      // in queries only
  ORG_GRID = 5,
  ORG_ANY = 6  // in queries only
};
inline constexpr std::int64_t DIM_ANY = 4;  // in queries only
inline bool is_lines(std::int64_t organisation) {
  return organisation == ORG_LINES_GRAVITY || organisation == ORG_LINES_CORES;
}

enum variable_type : std::int32_t {
  VAR_FLOAT = 0,  // a selection is a VAR_FLOAT of bit length 1
  VAR_CHAR = 1,   // bit length = 8 * characters
  VAR_MACRO = 2
};

enum variable_kind : std::int32_t {
  KIND_PLAIN = 0,
  KIND_SAMPLE_NUMBER = 1,
  KIND_RELATIVE_NUMBER = 2,
  KIND_LINE_NUMBER = 3,
  KIND_IX = 4,
  KIND_IY = 5,
  KIND_IZ = 6,
  KIND_X = 7,
  KIND_Y = 8,
  KIND_Z = 9,
  KIND_X_BEGIN = 10,
  KIND_Y_BEGIN = 11,
  KIND_Z_BEGIN = 12,
  KIND_X_END = 13,
  KIND_Y_END = 14,
  KIND_Z_END = 15,
  KIND_LINE_NAME = 16
};
inline constexpr int kind_count = 17;

// A regular grid. Node (1, 1, 1) lies at the origin; lengths in centimetres, angles in degrees.
struct qd_grid_record {
  double x0 = 0.0, y0 = 0.0, z0 = 0.0;
  double dx = 1.0, dy = 1.0, dz = 0.0;
  std::int64_t nx = 1, ny = 1, nz = 1;
  std::int64_t rotated = 0;  // computed: any angle is not 0
  double angle1 = 0.0, angle2 = 0.0, angle3 = 0.0;
  double m[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};  // computed: the rotation, row by row
  double t[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};  // computed: its transpose, which places nodes
};

struct qd_file_record {
  name_text name = "";
  std::int64_t organisation = 0;
  std::int64_t dimension = 0;  // 2 or 3
  std::int64_t line_count = 0;
  qd_grid_record grid;
  name_text link_name = "";  // partner of a link in the same directory, or empty
  std::int64_t sample_count = 0;
  std::int64_t allocated_samples = 0;  // room in the data files, a multiple of 512
};

struct qd_variable_record {
  name_text name = "";
  std::int32_t type = VAR_FLOAT;
  std::int32_t kind = KIND_PLAIN;
  std::int64_t bit_length = 0;
  std::int64_t implicit = 0;  // values are computed; there is no data file content
  qd_format_record format;
};

// Answer about one variable; the empty form has -1 in the integers and the float default.
struct qd_var_info {
  std::int64_t sample_count = -1;
  std::int32_t type = -1;
  std::int32_t kind = -1;
  std::int64_t implicit = -1;
  std::int64_t bit_length = -1;
  std::int64_t has_unit = -1;  // 1: length_flag is set, or the study has no units
  qd_format_record format;
};

// The folders in which a variable was found.
struct qd_variable_place {
  path_text file_path = "";
  path_text path = "";
};

struct qd_file_info {
  std::int64_t organisation = ORG_POINTS;
  std::int64_t dimension = 2;
  std::int64_t sample_count = 0;
  std::int64_t line_count = 0;
};

// Names of the variables that the store makes itself.
struct builtin_variable {
  const char* name;
  variable_kind kind;
};
// The stored coordinates of points and lines, by axis.
inline constexpr builtin_variable gravity_centers[3] = {
    {"X+ Gravity Center", KIND_X}, {"Y+ Gravity Center", KIND_Y}, {"Z+ Gravity Center", KIND_Z}};
inline constexpr builtin_variable core_begins[3] = {{"XB+ Begin of Sample", KIND_X_BEGIN},
                                                    {"YB+ Begin of Sample", KIND_Y_BEGIN},
                                                    {"ZB+ Begin of Sample", KIND_Z_BEGIN}};
inline constexpr builtin_variable core_ends[3] = {
    {"XE+ End of Sample", KIND_X_END}, {"YE+ End of Sample", KIND_Y_END}, {"ZE+ End of Sample", KIND_Z_END}};
inline constexpr builtin_variable grid_coordinates[3] = {{"X+ Coordinate (READONLY)", KIND_X},
                                                         {"Y+ Coordinate (READONLY)", KIND_Y},
                                                         {"Z+ Coordinate (READONLY)", KIND_Z}};
inline constexpr builtin_variable grid_indices[3] = {
    {"IX+ Index (READONLY)", KIND_IX}, {"IY+ Index (READONLY)", KIND_IY}, {"IZ+ Index (READONLY)", KIND_IZ}};
inline constexpr builtin_variable sample_number = {"SN+ Sample Number (READONLY)", KIND_SAMPLE_NUMBER};
inline constexpr builtin_variable relative_number = {"RN+ Relative Number (READONLY)", KIND_RELATIVE_NUMBER};
inline constexpr builtin_variable line_number = {"LN+ Line Number (READONLY)", KIND_LINE_NUMBER};

}  // namespace qrd
