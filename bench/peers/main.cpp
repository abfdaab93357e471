// Measures the server beside PostgreSQL and Redis: the same samples out of each and into each, in turn. Each
// is reached as its own client reaches it, ours over TCP and the others by UNIX sockets.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/measured_server.h"
#include "bench/peers/postgres.h"
#include "bench/peers/redis.h"
#include "bench/program.h"
#include "bench/report.h"
#include "bench/timing.h"
#include "qrd/wire.h"

namespace qrd::bench {

namespace {

struct task {
  const study_files& files;
  std::filesystem::path folder;
  std::vector<double> values;
  int rounds;
};

constexpr char out[] = "out";
constexpr char in[] = "in";

// What came back must be what was put in.
void check_same(const task& work, const std::vector<double>& read, const char* who) {
  if (read != work.values) throw std::runtime_error(std::string("other samples come out of ") + who);
}

class our_store {
 public:
  explicit our_store(const task& work)
      : samples_(static_cast<std::int64_t>(work.values.size())), server_(work.files) {
    server_.connection().set_file(samples_file);
    server_.connection().set_variable("64");
    server_.connection().write_floats(work.values);
    check_same(work, read(), "the server");
  }
  // The same bytes on the wire, past the client's decoding and encoding.
  void read_raw() { server_.exchange(read_all_request(), read_answer_size(samples_)); }
  void write_raw(const std::string& request) { server_.exchange(request, done_size); }
  std::vector<double> read() { return server_.connection().read_floats().values; }
  void write(const std::vector<double>& values) { server_.connection().write_floats(values); }

 private:
  std::int64_t samples_;
  measured_server server_;
};

void measure_postgres(report& table, const task& work, const std::filesystem::path& programs) {
  using layout = postgres_store::layout;
  our_store ours(work);
  postgres_store theirs(programs, work.folder);
  const std::size_t bytes = work.values.size() * sizeof(double);
  const auto measure = [&](layout where, const std::string& name, std::optional<bound> limit) {
    theirs.begin_writing(where);
    const comparison writing = compare(
        work.rounds, [&] { ours.write(work.values); }, [&] { theirs.write(where, work.values); },
        [&] { theirs.begin_writing(where); });
    theirs.abandon_writing();
    theirs.settle(where);
    check_same(work, theirs.read(where, work.values.size()), "PostgreSQL");
    const comparison reading = compare(
        work.rounds, [&] { ours.read(); }, [&] { theirs.read(where, work.values.size()); });
    table.begin_section(out);
    table.add(speed_row(name, bytes, reading, limit));
    table.begin_section(in);
    table.add(speed_row(name, bytes, writing, limit));
  };
  measure(layout::rows, "PostgreSQL, binary COPY of rows", at_least(7));
  measure(layout::one_array, "PostgreSQL, binary COPY of one array", std::nullopt);
}

void measure_redis(report& table, const task& work, const std::filesystem::path& program) {
  our_store ours(work);
  const redis_store theirs(program, work.folder);
  const std::string bytes = client::packet().add_doubles(work.values).bytes();
  const comparison writing = compare(
      work.rounds, [&] { ours.write(work.values); }, [&] { theirs.write(bytes); });
  if (const received_bytes read = theirs.read();
      read.size != bytes.size() || std::memcmp(read.data.get(), bytes.data(), read.size) != 0)
    throw std::runtime_error("other bytes come out of Redis");
  const auto get = [&] { theirs.read(); };
  const comparison reading = compare(
      work.rounds, [&] { ours.read(); }, get);
  const comparison raw_reading = compare(
      work.rounds, [&] { ours.read_raw(); }, get);
  const std::string request = write_all_request(work.values);
  const comparison raw_writing = compare(
      work.rounds, [&] { ours.write_raw(request); }, [&] { theirs.write(bytes); });
  table.begin_section(out);
  table.add(speed_row("Redis, GET of the raw bytes", bytes.size(), reading, at_least(0.7)));
  table.add(speed_row("Redis, GET; ours not decoded either", bytes.size(), raw_reading));
  table.begin_section(in);
  table.add(speed_row("Redis, SET of the raw bytes", bytes.size(), writing, at_least(0.7)));
  table.add(speed_row("Redis, SET; ours encoded before too", bytes.size(), raw_writing));
}

void run(const std::string& folder, std::int64_t samples, int rounds, const std::string& json_path) {
  const study_files files(folder, samples, 1, 1);
  task work{files, folder, std::vector<double>(static_cast<std::size_t>(samples)), rounds};
  for (std::size_t i = 0; i < work.values.size(); ++i) work.values[i] = static_cast<double>(i) / 7;
  report table("qrd_peers", "peer", {{"samples", samples}, {"rounds", rounds}});
  if (const auto programs = find_postgres())
    measure_postgres(table, work, *programs);
  else
    table.leave_out("PostgreSQL");
  if (const auto program = find_redis())
    measure_redis(table, work, *program);
  else
    table.leave_out("Redis");
  table.finish(json_path);
}

}  // namespace

}  // namespace qrd::bench

int main(int count, char** arguments) {
  std::int32_t samples = 8'000'000;
  std::int32_t rounds = 7;
  std::string folder = std::filesystem::temp_directory_path().string();
  std::string json_path;
  const auto add = [&](const qrd::command::command_line& program) {
    // The upper end keeps a run below 2 GB of disk.
    program.add_option("--samples", samples, "samples of 64 bits").range(1'000, 16'000'000).shows_default();
    program.add_option("--rounds", rounds, "repetitions of each transfer").range(1, 1000).shows_default();
    program.add_option("--folder", folder, "where the stores are made").shows_default();
    program.add_option("--json", json_path, "a file for the same rows as JSON");
    program.callback([&] { qrd::bench::run(folder, samples, rounds, json_path); });
  };
  return qrd::bench::run_program("qrd_peers",
                                 "Measures the server beside PostgreSQL and Redis, on the same samples.", add,
                                 count, arguments)
             ? 0
             : 2;
}
