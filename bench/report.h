// The table that the bench prints.
#pragma once

#include <string>

namespace qrd::bench {

enum class wish { at_least, at_most };

void print_heading();
// One row: a ratio and the bound it is held against. Nothing fails by it.
void print_ratio(const std::string& what, const std::string& measured, const std::string& bare, double ratio,
                 wish direction, double bound);
// One row without a bound.
void print_figure(const std::string& what, const std::string& figure);

std::string milliseconds(double seconds);
std::string mebibytes_per_second(double bytes, double seconds);

}  // namespace qrd::bench
