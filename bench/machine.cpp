#include "bench/machine.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace qrd::bench {

machine_state look_at_machine() {
  machine_state state{{}, sysconf(_SC_NPROCESSORS_ONLN), std::nullopt, {}};
  std::ifstream file("/proc/cpuinfo");
  double sum = 0;
  int told = 0;
  for (std::string line; std::getline(file, line);) {
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) continue;
    if (line.starts_with("model name")) state.processor = line.substr(colon + 2);
    if (line.starts_with("cpu MHz")) {
      sum += std::stod(line.substr(colon + 2));
      ++told;
    }
  }
  if (told > 0) state.megahertz = sum / told;
  if (state.processor.empty()) {
    utsname system{};
    state.processor = uname(&system) == 0 ? system.machine : "unknown processor";
  }
  if (getloadavg(state.load_average.data(), 3) != 3) state.load_average = {};
  return state;
}

}  // namespace qrd::bench
