// Cells as numbers, with a decimal point or a decimal comma.
#pragma once

#include <optional>
#include <string_view>

namespace qrd::formats {

enum class number_look { none, whole, point, comma };

// What a cell looks like, without working out its value: blanks around it, a sign, digits with one mark among
// them, and an exponent. Much quicker than reading it.
number_look look_of_number(std::string_view cell);

// The value of a finite number; nothing for what is none with that decimal mark.
std::optional<double> read_number(std::string_view cell, bool decimal_comma);

}  // namespace qrd::formats
