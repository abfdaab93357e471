// Samples in bulk: reads and writes of whole variables, and the memory that a read leaves.
#include <sys/socket.h>

#include <fstream>
#include <stdexcept>
#include <vector>

#include "bench/bare.h"
#include "bench/measured_server.h"
#include "bench/report.h"
#include "bench/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

namespace {

constexpr int bit_lengths[] = {64, 32, 8};

std::size_t array_size(std::int64_t samples) {
  return static_cast<std::size_t>(samples) * sizeof(double);
}

std::string read_request() {
  return client::packet("CREADVARF").add_long(-1).add_long(-1).add_int(0).bytes();
}

// SDATAF, the count, the test value, the samples.
std::size_t read_answer_size(std::int64_t samples) {
  return dataf_size + 8 + 8 + array_size(samples);
}

std::string write_request(std::int64_t samples) {
  std::vector<double> values(static_cast<std::size_t>(samples));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 100);
  client::packet request("CWRITVARF");
  request.add_long(-1).add_long(-1).add_int(0).add_double(client::missing_value).add_long(samples);
  request.add_doubles(values);
  return request.bytes();
}

}  // namespace

void measure_reads(const study_files& files, std::int64_t samples, int rounds) {
  const std::size_t answer = read_answer_size(samples);
  const auto bytes = static_cast<double>(answer);
  for (const int bits : bit_lengths) {
    const std::string path = files.data_file(bits);
    const bare_program bare([&](int socket) { push_file(socket, path, answer, 0); });
    const bare_program joining([&](int socket) { push_file(socket, path, answer, MSG_MORE); });
    measured_server server(files);
    server.connection().set_file(samples_file);
    server.connection().set_variable(std::to_string(bits));
    const auto serve = [&] { server.exchange(read_request(), answer); };
    const auto ask = [&](const bare_program& program) {
      program.ask();
      drain(program.socket(), answer);
    };
    const std::string what = "read " + std::to_string(bits) + " bits";
    const pair_of_times times = compare(rounds, serve, [&] { ask(bare); });
    print_ratio(what, mebibytes_per_second(bytes, times.measured), mebibytes_per_second(bytes, times.bare),
                times.bare / times.measured, wish::at_least, 0.7);
    const pair_of_times joined = compare(rounds, serve, [&] { ask(joining); });
    print_ratio(what + ", bare sends joined (MSG_MORE)", mebibytes_per_second(bytes, joined.measured),
                mebibytes_per_second(bytes, joined.bare), joined.bare / joined.measured, wish::at_least, 0.7);
  }
}

void measure_writes(const study_files& files, std::int64_t samples, int rounds) {
  const std::string request = write_request(samples);
  const auto bytes = static_cast<double>(request.size());
  for (const int bits : bit_lengths) {
    const auto stored = static_cast<std::size_t>(samples * bits / 8);
    const std::string path = (files.root() / "bare").string();
    const bare_program bare([&](int socket) { take_file(socket, path, request.size(), stored); });
    measured_server server(files);
    server.connection().set_file(samples_file);
    server.connection().set_variable(std::to_string(bits));
    const pair_of_times times = compare(
        rounds, [&] { server.exchange(request, done_size); },
        [&] {
          bare.ask();
          send_all(bare.socket(), request.data(), request.size());
          drain(bare.socket(), 1);
        });
    print_ratio("write " + std::to_string(bits) + " bits", mebibytes_per_second(bytes, times.measured),
                mebibytes_per_second(bytes, times.bare), times.bare / times.measured, wish::at_least, 0.6);
  }
}

double measured_server::memory(const std::string& key) const {
  std::ifstream status("/proc/" + std::to_string(process_.id()) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(key + ":")) return std::stod(line.substr(key.size() + 1)) * 1024;
  throw std::runtime_error("no " + key + " in the server's status");
}

void measure_memory(const study_files& files, std::int64_t samples) {
  measured_server server(files);
  server.connection().set_file(samples_file);
  server.connection().set_variable("64");
  server.exchange(read_request(), read_answer_size(samples));
  const double allowed = static_cast<double>(array_size(samples)) + (8 << 20);
  const auto row = [&](const char* what, const char* key) {
    print_ratio(what, std::to_string(static_cast<long>(server.memory(key)) >> 20) + " MiB",
                std::to_string(static_cast<long>(allowed) >> 20) + " MiB", server.memory(key) / allowed,
                wish::at_most, 1.0);
  };
  row("resident memory after a read", "VmRSS");
  row("its peak", "VmHWM");
}

}  // namespace qrd::bench
