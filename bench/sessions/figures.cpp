#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include "bench/sessions/parent.h"
#include "bench/sessions/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

namespace {

constexpr double longest_start = 15e-3;            // s, the median's bound
constexpr double most_memory = 2.0 * 1024 * 1024;  // bytes, an idle child's bound
constexpr double mebibyte = 1024.0 * 1024.0;

const char* verdict(bool held) {
  return held ? "" : "  MISSED";
}

void measure_starts(const client::server_process& parent, int rounds) {
  std::vector<double> times;
  client::connection_options options;
  options.handshake = false;
  for (int i = 0; i < rounds; ++i) {
    client::connection connection = parent.connect(options);
    std::optional<std::uint16_t> port;
    times.push_back(seconds([&] { port = connection.new_session(); }));
    if (!port) throw std::runtime_error("the server gives no sessions");
    // The child ends with its client.
    client::connection::connect("127.0.0.1", *port, options).bye();
  }
  while (!children_of(parent.id()).empty()) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  std::sort(times.begin(), times.end());
  const auto at = [&](double part) {
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))] * 1e3;
  };
  std::printf("CNEWSESS to SNEWPORT, %d times: median %.2f ms (at most 15)%s\n", rounds, at(0.5),
              verdict(median(times) <= longest_start));
  std::printf("  least %.2f, one in ten below %.2f, nine in ten below %.2f, most %.2f ms\n", at(0), at(0.1),
              at(0.9), at(1));
}

double sum_of_processor_time(const std::vector<pid_t>& processes) {
  double sum = 0;
  for (pid_t process : processes) sum += processor_time_of(process);
  return sum;
}

void measure_idle_children(const client::server_process& parent, int count, double idle_seconds) {
  std::vector<client::connection> clients;
  for (int i = 0; i < count; ++i) clients.push_back(new_session(parent));
  const std::vector<pid_t> children = children_of(parent.id());

  std::vector<double> memory;
  for (pid_t child : children) memory.push_back(static_cast<double>(private_memory_of(child)));
  const double most = *std::max_element(memory.begin(), memory.end());
  std::printf("Private memory of an idle child: median %.2f MiB, most %.2f MiB (at most 2)%s\n",
              median(memory) / mebibyte, most / mebibyte, verdict(most <= most_memory));

  const double before = sum_of_processor_time(children);
  const double elapsed =
      seconds([&] { std::this_thread::sleep_for(std::chrono::duration<double>(idle_seconds)); });
  const double used = sum_of_processor_time(children) - before;
  std::printf("%zu idle children: %.2f %% of one processor together, over %.0f s\n", children.size(),
              100 * used / elapsed, elapsed);
}

}  // namespace

void measure_sessions(const std::filesystem::path& folder, int rounds, int children, double idle_seconds) {
  const scratch_folder scratch(folder);
  client::server_process parent = start_parent(scratch.path());
  measure_starts(parent, rounds);
  measure_idle_children(parent, children, idle_seconds);
}

}  // namespace qrd::bench
