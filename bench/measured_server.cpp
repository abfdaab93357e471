#include "bench/measured_server.h"

#include <fstream>
#include <stdexcept>

namespace qrd::bench {

double measured_server::memory(const std::string& key) const {
  std::ifstream status("/proc/" + std::to_string(process_.id()) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(key + ":")) return std::stod(line.substr(key.size() + 1)) * 1024;
  throw std::runtime_error("no " + key + " in the server's status");
}

}  // namespace qrd::bench
