#include "plot/draw.h"

#include "plot/kinds.h"

namespace qrd::plot {

picture draw(client::database& owner, const request& wish) {
  if (wish.wanted == kind::palettes) return draw_palettes(owner, wish);
  if (wish.wanted == kind::scales) return draw_scales(owner, wish);
  source from(owner, wish);
  switch (wish.wanted) {
    case kind::section:
      return draw_section(from);
    case kind::strip_log:
      return draw_strip_log(from);
    case kind::histogram:
      return draw_histogram(from);
    case kind::scatter:
      return draw_scatter(from);
    default:
      return draw_map(from);
  }
}

}  // namespace qrd::plot
