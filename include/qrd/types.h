// The vocabulary of requests and answers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qrd::client {

// The newest protocol. A lower version makes the server speak older layouts.
constexpr std::int32_t newest_version = 1300030;
// The number that stands for a missing value.
constexpr double missing_value = 1.2345e+308;

// How the samples of a file lie: each by itself, along lines that were measured or drilled (as cores, with a
// begin and an end), or on the nodes of a grid.
enum class organisation { points, gravity_lines, core_lines, grid };

// What CVARTLST can be asked for.
enum class variable_filter {
  selections = -3,
  numeric_and_system = -2,
  all = -1,
  numeric = 0,  // floats and macros
  text = 1,     // with the system variables
  macros = 5,
};

// What has a comment: the current file, or the current variable.
enum class comment_owner { file = 2, variable = 3 };

// Whether lengths travel in the distance unit or each in its variable's own unit.
enum class unit_mode { distance = 0, own = 1 };

// Under a selection: all samples of the range with the others missing, or the selected ones only.
enum class selection_use { masked = 0, compressed = 1 };

// Both ends included, from 1.
struct sample_range {
  std::int64_t first = 1;
  std::int64_t last = 1;
};

// Numbers as they travel; where `missing` stands among them a value is missing.
struct float_samples {
  double missing = missing_value;
  std::vector<double> values;
};

// Texts as they travel; `missing` is the one that stands for a missing text.
struct text_samples {
  std::string missing;
  std::vector<std::string> values;  // each as wide as the variable, trailing blanks included
};

// A place, in the unit of what it belongs to: X to the east, Y to the north, Z upwards.
struct point3 {
  double x = 0;
  double y = 0;
  double z = 0;
  bool operator==(const point3&) const = default;
};

// A grid of nx * ny * nz nodes. Samples stand along X first, then Y, then Z.
struct grid_geometry {
  std::int32_t dimension = 2;
  point3 origin;         // the first node
  point3 mesh{1, 1, 0};  // from node to node; Z of a 2D grid is 0
  std::int32_t nx = 1;
  std::int32_t ny = 1;
  std::int32_t nz = 1;  // 1 in 2D
};

// How a number is printed: with decimals, as a whole number, with an exponent, or as it comes.
enum class number_style { decimal = 0, integer = 1, exponent = 2, free = 3, shifted = 4 };

// How a program should print the values of a variable.
struct number_format {
  number_style style = number_style::decimal;
  std::int32_t width = 10;  // characters
  std::int32_t digits = 2;  // behind the point
};

// The columns of a macro variable: their numbers, and the names of some macro variables.
struct macro_indices {
  std::vector<std::int32_t> numbers;  // ascending
  std::optional<std::vector<std::string>> names;
};

// A number, a text, a coordinate, or a macro variable, which is many columns of numbers under one name.
enum class variable_type { number = 0, text = 1, x = 2, y = 3, z = 4, macro = 5 };

// What the server tells of a file. Lengths are in the unit that the session talks in, angles in degrees.
// Names of variables and files; a name of "None" is given as no name.
struct file_info {
  client::organisation organisation{};
  std::optional<std::string> linked_file;
  bool has_faults = false;
  bool has_polygons = false;
  std::int32_t dimension = 0;
  std::int64_t samples = 0;
  std::int32_t lines = 0;
  point3 origin;
  point3 mesh;
  std::int32_t nx = 0;
  std::int32_t ny = 0;
  std::int32_t nz = 0;
  bool rotated = false;
  double angles[3] = {0, 0, 0};  // degrees
  std::optional<std::string> sample_number;
  std::optional<std::string> line_number;
  std::optional<std::string> relative_number;
  std::optional<std::string> coordinates[3];
  std::optional<std::string> core_begins[3];  // told by version 900000 and later
  std::optional<std::string> core_ends[3];
  std::optional<std::string> line_name;  // told by version 1300030 and later
  bool faults_2d = false;
  bool fault_attributes = false;
  std::int32_t faults = 0;
  std::int32_t fault_segments = 0;
  std::int32_t fault_priority_lowest = 0;
  std::int32_t fault_priority_highest = 0;
  std::int32_t fault_priority_limit = 0;
};

// What the server tells of a variable.
struct variable_info {
  variable_type type{};
  std::int32_t bits = 0;                   // 0 for a text
  std::int32_t characters = 0;             // 0 for a number
  bool implicit = false;                   // computed by the server, not stored
  std::int32_t indices = 0;                // of a macro variable
  std::string unit;                        // see value_unit() in qrd/units.h
  std::optional<std::string> comment;      // told before version 502000
  std::optional<std::string> unit_symbol;  // not told to the oldest versions
  std::optional<bool> has_unit;
};

}  // namespace qrd::client
