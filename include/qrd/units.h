// The length units of the database, and what the values of a variable are told in.
//
// A variable is a length if its unit is one of the symbols; any other unit, such as "%", is mere text and
// changes no value.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "qrd/export.h"
#include "qrd/types.h"

namespace qrd::client {

// A unit of length that the database knows.
struct length_unit {
  std::string_view symbol;
  std::string_view name;
  double centimetres;
};
// All of them.
QRD_EXPORT std::span<const length_unit> length_units();

// Centimetres per unit, for the symbol of a length unit.
QRD_EXPORT std::optional<double> length_factor(std::string_view symbol);

// The symbol that a text probably means: "feet", "FT" and "Foot" mean "ft". Nothing for a symbol itself and
// for what is not near one.
QRD_EXPORT std::optional<std::string> near_length_symbol(std::string_view text);

// An `error` if the text is not a symbol, with the one that is meant, if any.
QRD_EXPORT void check_length_symbol(std::string_view text);

// For the unit of a new variable: a symbol, or a text that cannot be taken for one. An `error` for one that
// nearly is one, and for more characters than a unit can have.
QRD_EXPORT void check_unit(std::string_view text);
// For a unit that shall be mere text, however near a symbol; an `error` for a symbol, which makes a length.
QRD_EXPORT void check_unit_text(std::string_view text);

// What the values travel in: the symbol of a length unit, the text of another one, or nothing. The symbol
// that a length is shown with can be another one.
QRD_EXPORT std::string value_unit(const variable_info& info);

}  // namespace qrd::client
