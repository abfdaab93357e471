// The files that a picture can become.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "plot/picture.h"

namespace qrd::plot {

enum class format { svg, png, pdf };

// By the ending of the name.
std::optional<format> format_of(std::string_view path);

// The dots are those of a PNG.
std::string bytes_of(const picture& drawn, format wanted, double dots_per_inch);

}  // namespace qrd::plot
