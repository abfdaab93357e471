// One function for each kind of picture: what plot/draw.h chooses from.
#pragma once

#include "plot/samples.h"
#include "qrd/error.h"

namespace qrd::plot {

picture draw_map(source& from);
picture draw_grid_map(source& from);
picture draw_section(source& from);
picture draw_strip_log(source& from);
picture draw_histogram(source& from);
picture draw_scatter(source& from);
picture draw_palettes(client::database& owner, const request& wish);
picture draw_scales(client::database& owner, const request& wish);

}  // namespace qrd::plot
