// Making files and variables, appending samples, and deleting files.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <numeric>
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

std::vector<double> coordinates(std::int64_t count) {
  std::vector<double> values(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 1000);
  return values;
}

// The first, the middle and the last tenth of a series of the same acts; the last with its ratio to the
// first.
void add_course(report& table, const std::string& name, const std::vector<double>& times,
                std::optional<bound> limit) {
  const std::size_t tenth = times.size() / 10;
  const auto part = [&](std::size_t from) {
    const auto begin = times.begin() + static_cast<std::ptrdiff_t>(from);
    return comparison{series({begin, begin + static_cast<std::ptrdiff_t>(tenth)}), std::nullopt};
  };
  const comparison first = part(0);
  table.add(time_row(name + ", at first", first));
  table.add(time_row(name + ", half-way", part(times.size() / 2)));
  row last = time_row(name + ", at last", part(times.size() - tenth), limit);
  last.ratio = last.measured / (first.measured.median * 1e3);
  last.note = "over the first";
  table.add(last);
}

}  // namespace

void measure_folder(report& table, const study_files& files) {
  int number = 0;
  table.add(time_row("a folder with three empty files, bare", times_of(20, [&] {
                       const std::filesystem::path folder =
                           files.root() / ("bare folder " + std::to_string(++number));
                       std::filesystem::create_directory(folder);
                       for (const char* name : {"DESCR", "COMMENT", "DATAVAR"}) write_file(folder / name, 0);
                     })));
}

void measure_creation(report& table, const study_files& files, const bench_settings& settings) {
  measured_server server(files);
  client::connection& connection = server.connection();
  const std::string path = (files.root() / "bare").string();

  const std::int64_t numbers = 3 * settings.points;
  client::packet request("CPFILENEW");
  request.add_string("made").add_long(settings.points).add_int(3).add_doubles(coordinates(numbers));
  const std::string& bytes = request.bytes();
  const auto stored = static_cast<std::size_t>(numbers) * sizeof(double);
  {
    const bare_program bare([&](int socket) {
      unlink(path.c_str());
      take_file(socket, path, stored, stored);
    });
    const comparison times = compare(
        settings.rounds, [&] { server.exchange(bytes, done_size); },
        [&] {
          bare.ask();
          send_all(bare.socket(), bytes.data(), stored);
          drain(bare.socket(), 1);
        },
        [&] {
          connection.set_file("made");
          connection.delete_file();
        });
    table.add(time_row("CPFILENEW of 3D points", times, at_most(3)));
    unlink(path.c_str());
  }

  client::grid_geometry grid;
  grid.dimension = 3;
  grid.mesh = {1, 1, 1};
  grid.nx = grid.ny = grid.nz = 200;
  connection.new_grid("grid", grid);
  connection.set_file("grid");
  constexpr std::size_t nodes = 200 * 200 * 200;
  const comparison times = compare(
      settings.rounds, [&] { connection.new_float_variable("filled", 64); },
      [&] { write_file(path, nodes * sizeof(double)); },
      [&] {
        unlink(path.c_str());
        connection.set_variable("filled");
        connection.delete_variable();
      });
  table.add(time_row("a 64-bit variable of 8 million nodes", times, at_most(2)));
  connection.delete_file();
}

void measure_appends(report& table, const study_files& files, const bench_settings& settings) {
  measured_server server(files);
  client::connection& connection = server.connection();
  const std::vector<double> ten = coordinates(30);
  connection.new_points("growing", 3, ten);
  connection.set_file("growing");
  for (int i = 1; i <= 20; ++i) connection.new_float_variable("variable " + std::to_string(i), 32);
  std::vector<double> times;
  for (int i = 0; i < 1000; ++i) times.push_back(seconds([&] { connection.append_points(3, ten); }));
  add_course(table, "10 samples to 20 variables, 1000 times", times, at_most(1.5));
  connection.delete_file();

  // Each append moves all columns: what grows is measured with a file that hardly does.
  std::optional<comparison> before;
  for (const int columns : {1, 10, 100}) {
    connection.new_points("columns", 3, coordinates(3 * 10'000));
    connection.set_file("columns");
    connection.new_macro_variable("m[xxxxx]", 32);
    connection.set_variable("m[xxxxx]");
    std::vector<std::int32_t> indices(static_cast<std::size_t>(columns));
    std::iota(indices.begin(), indices.end(), 1);
    connection.add_macro_indices(indices);
    const comparison now = times_of(3 * settings.rounds, [&] { connection.append_points(3, ten); });
    table.add(growth_row("10 samples to 10000, macro columns: " + std::to_string(columns), now, 10, before,
                         at_most(linear)));
    before = now;
    connection.delete_file();
  }
}

void measure_deletion(report& table, const study_files& files, const bench_settings& settings) {
  std::optional<comparison> before;
  int count_before = 1;
  for (const int count : {settings.files / 100, settings.files / 10, settings.files / 2}) {
    const crowded_directory crowd(files, count);
    measured_server server(files, true, crowd.name());
    client::connection& connection = server.connection();
    // All over the directory, and few enough for every repetition to find more.
    const int rounds = std::max(1, std::min(20, count / (1 + most_repetitions)));
    const int step = count / (rounds * (1 + most_repetitions));
    int number = 0;
    const comparison now = times_of(rounds, [&] {
      connection.set_file("file " + std::to_string(number += step));
      connection.delete_file();
    });
    table.add(growth_row("CFILESET and CFILEDEL, files: " + std::to_string(count), now,
                         static_cast<double>(count) / count_before, before, at_most(linear)));
    before = now;
    count_before = count;
  }
}

void measure_many_variables(report& table, const study_files& files, const bench_settings& settings) {
  measured_server server(files);
  client::connection& connection = server.connection();
  connection.new_points("wide", 2, coordinates(2));
  connection.set_file("wide");
  std::vector<double> times;
  for (int i = 1; i <= settings.variables; ++i)
    times.push_back(seconds([&] { connection.new_float_variable("variable " + std::to_string(i), 8); }));
  add_course(table, "creation of one among many", times, std::nullopt);
  connection.delete_file();
}

}  // namespace qrd::bench
