// A picture as PNG or PDF, by cairo. The same on one machine; another one may have another font.
#pragma once

#include <string>

#include "plot/picture.h"

namespace qrd::plot {

// An `error` if the picture becomes larger than a PNG of cairo can be, or memory ends.
std::string png_bytes(const picture& drawn, double dots_per_inch);
std::string pdf_bytes(const picture& drawn);

}  // namespace qrd::plot
