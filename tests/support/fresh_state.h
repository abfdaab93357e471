// The state of a process that has just been started.
#pragma once

#include "disk/store_state.h"
#include "requests/context.h"
#include "samples/qd_variable_table.h"
#include "units/qu_units.h"
#include "util/qu_hooks.h"

namespace qrd::test {

inline void fresh_state() {
  qd_deselect_all();
  store = {};
  units = {};
  current_context = {};
  hooks = {};
}

}  // namespace qrd::test
