// Numbers as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qrd/export.h"

namespace qrd::client {

// A finite decimal number, with blanks around it or not. Nothing for any other text.
QRD_EXPORT std::optional<double> parse_number(std::string_view text);

// The shortest text that reads back as the same number.
QRD_EXPORT std::string number_text(double value);

// For a length of 64 bits: a text of few digits whose number, written and read again, is told as the same
// value.
QRD_EXPORT std::string length_text(double value, double factor);

// The shortest text whose number is stored in the same 32 bits, for a value that was read from such a
// variable. `factor` is what the server multiplies values with before it stores them.
QRD_EXPORT std::string single_text(double value, double factor);

// Whether a variable of so many bits can hold the value. Up to 16 bits it holds whole numbers from 0, and the
// highest one means missing; from 32 bits on nothing beyond 1e30.
QRD_EXPORT bool fits_bits(double value, std::int32_t bits);

// The same three, written without an end where there is room for 32 characters; each returns where it ends.
// REQUIRES: a finite value.
QRD_EXPORT char* write_number(char* to, double value);
QRD_EXPORT char* write_length(char* to, double value, double factor);
QRD_EXPORT char* write_single(char* to, double value, double factor);

}  // namespace qrd::client
