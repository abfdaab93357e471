// Small requests: the time of one round trip, and the listing of many variables.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "bench/bare.h"
#include "bench/measured_server.h"
#include "bench/report.h"
#include "bench/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

namespace {

constexpr int many_trips = 3000;

// Answers whose bytes fill the server's buffer to the last one: a flush that finds nothing left must still
// push them out at once. Longs of 4 bytes make these sizes possible: SDATAF, count, test value, samples.
void measure_full_answers(const study_files& files) {
  measured_server server(files, false);
  server.connection().set_file(samples_file);
  server.connection().set_variable("8");
  for (const std::int32_t samples : {125, 253}) {
    const std::size_t answer = dataf_size + 4 + 8 + static_cast<std::size_t>(samples) * 8;
    client::packet request("CREADVARF", client::long_size::four_bytes);
    request.add_long(1).add_long(samples).add_int(0);
    std::vector<double> times;
    for (int i = 0; i < 500; ++i) times.push_back(seconds([&] { server.exchange(request.bytes(), answer); }));
    print_figure("answer of " + std::to_string(answer) + " bytes",
                 "median " + milliseconds(median(times)) + ", longest " +
                     milliseconds(*std::max_element(times.begin(), times.end())));
  }
}

}  // namespace

void measure_round_trips(const study_files& files) {
  measured_server server(files);
  const bare_program bare(pong);
  const std::string request = client::packet("CDIRXIST").add_string("Other 3").bytes();
  constexpr std::size_t answer = 12 + 4;  // SEXIST, the int
  std::vector<double> longest;
  const pair_of_times times = compare(
      many_trips, [&] { longest.push_back(seconds([&] { server.exchange(request, answer); })); },
      [&] {
        bare.ask();
        drain(bare.socket(), 1);
      });
  print_ratio("CDIRXIST among 3 directories", milliseconds(times.measured), milliseconds(times.bare),
              times.measured / times.bare, wish::at_most, 3.0);
  print_figure("its longest round trip", milliseconds(*std::max_element(longest.begin(), longest.end())));
  measure_full_answers(files);
}

void measure_lists(const study_files& files, int variables) {
  measured_server server(files);
  server.connection().set_file(variables_file);
  const std::vector<std::string> names = server.connection().variables();
  if (names.size() != static_cast<std::size_t>(variables)) throw std::runtime_error("a list is not whole");
  std::size_t answer = text_size(5) + 4;  // SVARS, the count
  for (const std::string& name : names) answer += text_size(name.size());

  std::vector<std::string> paths;
  for (int i = 1; i <= variables; ++i) paths.push_back(files.descriptor(i));
  const auto read_all = [&] {
    char content[4096];
    for (const std::string& path : paths) {
      const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
      if (file < 0 || read(file, content, sizeof content) <= 0)
        throw std::runtime_error("cannot read " + path);
      close(file);
    }
  };
  const pair_of_times times = compare(
      51, [&] { server.exchange(client::packet("CVARLST").bytes(), answer); }, read_all);
  print_ratio("CVARLST of " + std::to_string(variables) + " variables", milliseconds(times.measured),
              milliseconds(times.bare), times.measured / times.bare, wish::at_most, 2.0);
}

}  // namespace qrd::bench
