#include "plot/format.h"

#include "plot/canvas.h"
#include "plot/svg.h"

namespace qrd::plot {

std::optional<format> format_of(std::string_view path) {
  if (path.ends_with(".svg")) return format::svg;
  if (path.ends_with(".png")) return format::png;
  if (path.ends_with(".pdf")) return format::pdf;
  return std::nullopt;
}

std::string bytes_of(const picture& drawn, format wanted, double dots_per_inch) {
  if (wanted == format::svg) return svg_text(drawn);
  return wanted == format::png ? png_bytes(drawn, dots_per_inch) : pdf_bytes(drawn);
}

}  // namespace qrd::plot
