// What the program does: measure, or put a load on the server and check what came of it.
#pragma once

#include <filesystem>

#include "bench/report.h"
#include "bench/sessions/parent.h"

namespace qrd::bench {

// Adds the time to get a session, the memory of idle children, and what they take of the processor.
void measure_sessions(report& table, const std::filesystem::path& folder, port_use ports, int rounds,
                      int children, double idle_seconds);
// Prints how long a question (CDIRXIST) takes many clients, alone and beside one that asks without a pause.
void measure_flood(const std::filesystem::path& folder, int clients);

struct load_settings {
  int clients = 200;
  int rounds = 4;  // files that each client makes, one after the other
  int samples = 2000;
  port_use ports = port_use::many;
};

// Many clients at once, each with a session of its own, work in one directory; one third of them leaves
// without a goodbye in the middle of a packet. Prints what was found, and gives the number of faults.
int run_load(const std::filesystem::path& folder, const load_settings& settings);

}  // namespace qrd::bench
