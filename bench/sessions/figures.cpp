#include <algorithm>
#include <atomic>
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

// The bounds, by the use of ports: of the median start (s), and of an idle child's own memory.
struct bounds {
  double start;
  double memory;
};
constexpr double mebibyte = 1024.0 * 1024.0;
constexpr bounds bounds_for(port_use ports) {
  return ports == port_use::one ? bounds{3e-3, 0.5 * mebibyte} : bounds{1e-3, 2 * mebibyte};
}

// A start on the one port, with the first question.
double start_on_one_port(const client::server_process& parent) {
  client::connection_options options;
  options.wide_longs = false;
  std::optional<client::connection> connection;
  return seconds([&] { connection.emplace(parent.connect(options)); });
}

double start_on_own_port(const client::server_process& parent) {
  client::connection_options options;
  options.handshake = false;
  client::connection connection = parent.connect(options);
  std::optional<std::uint16_t> port;
  const double time = seconds([&] { port = connection.new_session(); });
  if (!port) throw std::runtime_error("the server gives no sessions");
  // The child ends with its client.
  client::connection::connect("127.0.0.1", *port, options).bye();
  return time;
}

void measure_starts(report& table, const client::server_process& parent, port_use ports, int rounds) {
  const bool is_one = ports == port_use::one;
  std::vector<double> all;
  const comparison times = calmest([&] {
    all.clear();
    for (int i = 0; i < rounds; ++i)
      all.push_back(is_one ? start_on_one_port(parent) : start_on_own_port(parent));
    while (!children_of(parent.id()).empty()) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return comparison{series(all), std::nullopt};
  });
  table.add(time_row(is_one ? "connect to the answer of CHELLO" : "CNEWSESS to SNEWPORT", times,
                     at_most(bounds_for(ports).start * 1e3)));
  table.add(row{"the slowest in ten of them", quantile(all, 0.9) * 1e3, std::nullopt, "ms"});
}

double sum_of_processor_time(const std::vector<pid_t>& processes) {
  double sum = 0;
  for (pid_t process : processes) sum += processor_time_of(process);
  return sum;
}

void measure_idle_children(report& table, const client::server_process& parent, port_use ports, int count,
                           double idle_seconds) {
  std::vector<client::connection> clients;
  for (int i = 0; i < count; ++i) clients.push_back(new_session(parent));
  const std::vector<pid_t> children = children_of(parent.id());

  std::vector<double> memory;
  for (pid_t child : children) memory.push_back(static_cast<double>(private_memory_of(child)) / mebibyte);
  row most{"private memory of an idle child, the most", *std::max_element(memory.begin(), memory.end()),
           std::nullopt, "MiB"};
  most.limit = at_most(bounds_for(ports).memory / mebibyte);
  table.add(row{"private memory of an idle child", median(memory), std::nullopt, "MiB"});
  table.add(most);

  const double before = sum_of_processor_time(children);
  const double elapsed =
      seconds([&] { std::this_thread::sleep_for(std::chrono::duration<double>(idle_seconds)); });
  const double used = sum_of_processor_time(children) - before;
  row idle{"all idle children, of one processor", 100 * used / elapsed, std::nullopt, "%"};
  idle.note = std::to_string(children.size()) + " children";
  table.add(idle);
}

constexpr int questions = 40;  // of each client

// The median over all clients, each of which asks now and then.
double median_answer(std::vector<client::connection>& clients) {
  std::vector<double> times;
  for (int round = 0; round < questions; ++round)
    for (client::connection& client : clients) {
      times.push_back(seconds([&] { client.directory_exists("Shared"); }));
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  return median(times);
}

}  // namespace

void measure_flood(const std::filesystem::path& folder, int clients) {
  const scratch_folder scratch(folder, "qrd_sessions");
  client::server_process parent = start_parent(scratch.path(), port_use::one);
  const auto with_study = [&] {
    client::connection client = new_session(parent);
    client.open_root("");
    return client;
  };
  client::connection flooding = with_study();
  flooding.new_study("Flood", (scratch.path() / "Flood").string());
  flooding.set_study("Flood");
  flooding.new_directory("Shared");
  std::vector<client::connection> others;
  for (int i = 0; i < clients; ++i) {
    others.push_back(with_study());
    others.back().set_study("Flood");
  }
  const double alone = median_answer(others);
  std::atomic<bool> ends = false;
  std::uint64_t asked = 0;
  std::jthread flood([&] {
    for (; !ends; ++asked) flooding.directory_exists("Shared");
  });
  const double beside = median_answer(others);
  ends = true;
  flood.join();
  std::printf("CDIRXIST of %d clients: median %.3f ms alone, %.3f ms beside one that asked %llu times\n",
              clients, alone * 1e3, beside * 1e3, static_cast<unsigned long long>(asked));
}

void measure_sessions(report& table, const std::filesystem::path& folder, port_use ports, int rounds,
                      int children, double idle_seconds) {
  const scratch_folder scratch(folder, "qrd_sessions");
  client::server_process parent = start_parent(scratch.path(), ports);
  table.begin_section(ports == port_use::one ? "one port" : "own ports");
  measure_starts(table, parent, ports, rounds);
  measure_idle_children(table, parent, ports, children, idle_seconds);
}

}  // namespace qrd::bench
