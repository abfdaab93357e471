// Making files and variables, and appending samples.
#include <unistd.h>

#include <filesystem>
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

// Medians of the first, the middle and the last tenth of a series.
std::string course(const std::vector<double>& times) {
  const std::size_t tenth = times.size() / 10;
  const auto part = [&](std::size_t from) {
    const auto begin = times.begin() + static_cast<std::ptrdiff_t>(from);
    return milliseconds(median({begin, begin + static_cast<std::ptrdiff_t>(tenth)}));
  };
  return part(0) + " at first, " + part(times.size() / 2) + " half-way, " + part(times.size() - tenth) +
         " at last";
}

}  // namespace

void measure_folder(const study_files& files) {
  std::vector<double> times;
  for (int i = 0; i < 20; ++i) {
    const std::filesystem::path folder = files.root() / ("bare folder " + std::to_string(i));
    times.push_back(seconds([&] {
      std::filesystem::create_directory(folder);
      for (const char* name : {"DESCR", "COMMENT", "DATAVAR"}) write_file(folder / name, 0);
    }));
  }
  print_figure("a folder with three empty files, bare", milliseconds(median(times)));
}

void measure_creation(const study_files& files, std::int64_t points, int rounds) {
  measured_server server(files);
  client::connection& connection = server.connection();
  const std::string path = (files.root() / "bare").string();

  client::packet request("CPFILENEW");
  request.add_string("points").add_long(points).add_int(3).add_doubles(coordinates(3 * points));
  const std::string& bytes = request.bytes();
  const auto stored = static_cast<std::size_t>(3 * points) * sizeof(double);
  {
    const bare_program bare([&](int socket) {
      unlink(path.c_str());
      take_file(socket, path, stored, stored);
    });
    std::vector<double> measured_times;
    std::vector<double> bare_times;
    for (int i = 0; i < rounds; ++i) {
      bare_times.push_back(seconds([&] {
        bare.ask();
        send_all(bare.socket(), bytes.data(), stored);
        drain(bare.socket(), 1);
      }));
      measured_times.push_back(seconds([&] { server.exchange(bytes, done_size); }));
      connection.set_file("points");
      connection.delete_file();
    }
    print_ratio("CPFILENEW of " + std::to_string(points) + " 3D points", milliseconds(median(measured_times)),
                milliseconds(median(bare_times)), median(measured_times) / median(bare_times), wish::at_most,
                3.0);
  }

  client::grid_geometry grid;
  grid.dimension = 3;
  grid.mesh = {1, 1, 1};
  grid.nx = grid.ny = grid.nz = 200;
  connection.new_grid("grid", grid);
  connection.set_file("grid");
  constexpr std::size_t nodes = 200 * 200 * 200;
  std::vector<double> measured_times;
  std::vector<double> bare_times;
  for (int i = 0; i < rounds; ++i) {
    unlink(path.c_str());
    bare_times.push_back(seconds([&] { write_file(path, nodes * sizeof(double)); }));
    measured_times.push_back(seconds([&] { connection.new_float_variable("filled", 64); }));
    connection.set_variable("filled");
    connection.delete_variable();
  }
  print_ratio("a 64-bit variable of 8 million nodes", milliseconds(median(measured_times)),
              milliseconds(median(bare_times)), median(measured_times) / median(bare_times), wish::at_most,
              2.0);
  connection.delete_file();
}

void measure_appends(const study_files& files) {
  measured_server server(files);
  client::connection& connection = server.connection();
  const std::vector<double> ten = coordinates(30);
  connection.new_points("growing", 3, ten);
  connection.set_file("growing");
  for (int i = 1; i <= 20; ++i) connection.new_float_variable("variable " + std::to_string(i), 32);
  std::vector<double> times;
  for (int i = 0; i < 1000; ++i) times.push_back(seconds([&] { connection.append_points(3, ten); }));
  print_figure("1000 appends of 10 samples, 20 variables", course(times));
  connection.delete_file();
}

void measure_many_variables(const study_files& files, int variables) {
  measured_server server(files);
  client::connection& connection = server.connection();
  connection.new_points("wide", 2, coordinates(2));
  connection.set_file("wide");
  std::vector<double> times;
  for (int i = 1; i <= variables; ++i)
    times.push_back(seconds([&] { connection.new_float_variable("variable " + std::to_string(i), 8); }));
  print_figure("creation of " + std::to_string(variables) + " variables in a file", course(times));
  connection.delete_file();
}

}  // namespace qrd::bench
