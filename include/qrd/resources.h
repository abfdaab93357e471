// Palettes, colour scales and vendor data as they travel.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace qrd::client {

// Red, green and blue, each 0 to 255.
using rgb = std::array<std::int32_t, 3>;

// A class of the facies kind: what is drawn for it and written beside it.
struct facies_class {
  rgb colour{};
  std::string label;
  bool operator==(const facies_class&) const = default;
};

// Values from minimum to maximum have the colour with that index.
struct facies_interval {
  double minimum = 0;
  double maximum = 0;
  std::int32_t palette_index = 0;
  bool operator==(const facies_interval&) const = default;
};

// Where the bounds of the classes come from: the values (automatic, or classes of a given number), the scale
// itself (manual), or named intervals (facies).
enum class scale_kind { automatic = 0, classes = 1, manual = 2, facies = 3 };

// How values become colours: classes of them, and for each the place of its colour in a palette. The server
// stores a scale and never applies it.
struct colour_scale {
  scale_kind kind = scale_kind::automatic;
  bool read_only = false;
  std::string palette;
  std::int32_t classes = 2;
  // Special colours of the manual and facies kinds, and how they are used: carried along for the programs
  // that draw.
  rgb colour_1{};
  rgb colour_2{};
  rgb colour_3{};
  std::array<std::int32_t, 3> modes = {2, 0, 2};
  // Manual kind: one bound more than classes, one palette index for each class.
  std::vector<double> bounds;
  std::vector<std::int32_t> palette_indices;
  // Facies kind.
  bool integer_bounds = false;
  std::vector<facies_interval> intervals;
  std::vector<facies_class> facies;
  bool operator==(const colour_scale&) const = default;
};

// Who owns a bag of vendor data: what is current.
enum class vendor_scope { study = 0, directory = 1, file = 2, variable = 3 };

// The index of the alternative is the type on the wire.
using vendor_value = std::variant<std::monostate, std::int32_t, double, std::string,
                                  std::vector<std::int32_t>, std::vector<double>, std::vector<std::string>>;

// One entry of a bag: a number, a text, or an array of them.
struct vendor_attribute {
  std::string name;
  vendor_value value;
  bool operator==(const vendor_attribute&) const = default;
};

// Data that a program keeps beside an object, under a name of its own.
struct vendor_bag {
  std::int32_t version = 0;
  std::vector<vendor_attribute> attributes;
  bool operator==(const vendor_bag&) const = default;
};

}  // namespace qrd::client
