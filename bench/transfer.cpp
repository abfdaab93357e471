// Samples in bulk: reads and writes of whole variables, and what a read takes of memory.
#include <sys/socket.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "bench/bare.h"
#include "bench/measured_server.h"
#include "bench/report.h"
#include "bench/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

namespace {

constexpr double mebibyte = 1 << 20;

std::string of_bits(const char* what, int bits) {
  return what + std::to_string(bits) + (bits == 1 ? " bit" : " bits");
}

std::string write_request(std::int64_t samples) {
  std::vector<double> values(static_cast<std::size_t>(samples));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 100);
  return write_all_request(values);
}

void select_variable(measured_server& server, int bits) {
  server.connection().set_file(samples_file);
  server.connection().set_variable(std::to_string(bits));
}

std::int64_t stored_size(std::int64_t samples, int bits) {
  return (samples * bits + 7) / 8;
}

}  // namespace

void measure_reads(report& table, const study_files& files, const bench_settings& settings) {
  const std::size_t answer = read_answer_size(settings.samples);
  const std::string request = read_all_request();
  const auto measure = [&](int bits, const std::string& name, std::size_t step, int flags,
                           std::optional<bound> limit) {
    const std::string path = files.data_file(bits);
    const bare_program bare([&](int socket) { push_file(socket, path, answer, step, flags); });
    measured_server server(files);
    select_variable(server, bits);
    const comparison times = compare(
        settings.rounds, [&] { server.exchange(request, answer); },
        [&] {
          bare.ask();
          drain(bare.socket(), answer);
        });
    table.add(speed_row(name, answer, times, limit));
  };
  for (const int bits : bit_lengths) measure(bits, of_bits("", bits), protocol_step, MSG_MORE, at_least(0.9));
  // What it costs that the protocol sends 1024 bytes at a time: not our doing, and so without a bound.
  measure(64, "64 bits, bare sends of 1024 bytes not joined", protocol_step, 0, std::nullopt);
  measure(64, "64 bits, bare sends of 64 KiB", std::size_t{1} << 16, 0, std::nullopt);
}

void measure_writes(report& table, const study_files& files, const bench_settings& settings) {
  const std::string request = write_request(settings.samples);
  for (const int bits : bit_lengths) {
    const auto stored = static_cast<std::size_t>(stored_size(settings.samples, bits));
    const std::string path = (files.root() / "bare").string();
    const bare_program bare([&](int socket) { take_file(socket, path, request.size(), stored); });
    measured_server server(files);
    select_variable(server, bits);
    const comparison times = compare(
        settings.rounds, [&] { server.exchange(request, done_size); },
        [&] {
          bare.ask();
          send_all(bare.socket(), request.data(), request.size());
          drain(bare.socket(), 1);
        });
    table.add(speed_row(of_bits("", bits), request.size(), times, at_least(0.95)));
    std::filesystem::remove(path);
  }
}

void measure_memory(report& table, const study_files& files, const bench_settings& settings) {
  for (const int bits : bit_lengths) {
    measured_server server(files);
    select_variable(server, bits);
    const double idle = server.memory("VmRSS");
    server.exchange(read_all_request(), read_answer_size(settings.samples));
    // Answered when the read is over: what it took is given back after its last byte.
    server.connection().directory_exists(directory_name);
    const double allowed = static_cast<double>(stored_size(settings.samples, bits)) + mebibyte;
    const double peak = server.memory("VmHWM") - idle;
    table.add(row{of_bits("peak of a read beyond the idle server, ", bits), peak / mebibyte,
                  allowed / mebibyte, "MiB", peak / allowed, at_most(1)});
    row kept{of_bits("kept after a read, ", bits), (server.memory("VmRSS") - idle) / mebibyte, std::nullopt,
             "MiB"};
    kept.limit = at_most(1);
    table.add(kept);
  }
}

}  // namespace qrd::bench
