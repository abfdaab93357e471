// The geometry of a regular grid.
#pragma once

#include "disk/qd_records.h"

namespace qrd {

// Sets rotated, m and t from the angles.
void qd_grid_compute(qd_grid_record& grid);

}  // namespace qrd
