// The machine that a bench runs on, and what else it does meanwhile.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace qrd::bench {

struct machine_state {
  std::string processor;
  long processors;
  std::optional<double> megahertz;     // now, the mean of all processors; not every machine tells it
  std::array<double, 3> load_average;  // over 1, 5 and 15 minutes
};

machine_state look_at_machine();

}  // namespace qrd::bench
