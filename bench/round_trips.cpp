// Small requests: the time of one round trip, lists of many names, and a pass over many variables.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
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
void measure_full_answers(report& table, const study_files& files) {
  measured_server server(files, false);
  server.connection().set_file(samples_file);
  server.connection().set_variable("8");
  for (const std::int32_t samples : {125, 253}) {
    const std::size_t answer = dataf_size + 4 + 8 + static_cast<std::size_t>(samples) * 8;
    client::packet request("CREADVARF", client::long_size::four_bytes);
    request.add_long(1).add_long(samples).add_int(0);
    double longest = 0;
    const comparison times = times_of(500, [&] {
      longest = std::max(longest, seconds([&] { server.exchange(request.bytes(), answer); }));
    });
    const std::string name = "an answer of " + std::to_string(answer) + " bytes";
    table.add(time_row(name, times));
    table.add(row{name + ", the longest", longest * 1e3, std::nullopt, "ms"});
  }
}

}  // namespace

void measure_round_trips(report& table, const study_files& files) {
  measured_server server(files);
  const bare_program bare(pong);
  const std::string request = client::packet("CDIRXIST").add_string("Other 3").bytes();
  constexpr std::size_t answer = 12 + 4;  // SEXIST, the int
  double longest = 0;
  const comparison times = compare(
      many_trips, [&] { longest = std::max(longest, seconds([&] { server.exchange(request, answer); })); },
      [&] {
        bare.ask();
        drain(bare.socket(), 1);
      });
  table.add(time_row("CDIRXIST among 3 directories", times, at_most(3)));
  table.add(row{"CDIRXIST, the longest", longest * 1e3, std::nullopt, "ms"});
  measure_full_answers(table, files);
}

namespace {

// Opens and reads each, as somebody must who wants to know the names.
void read_all(const std::vector<std::string>& paths) {
  char content[4096];
  for (const std::string& path : paths) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 || read(file, content, sizeof content) <= 0) throw std::runtime_error("cannot read " + path);
    close(file);
  }
}

// Bytes of a list of names on the wire.
std::size_t list_size(std::size_t answer_name, const std::vector<std::string>& names, std::size_t count) {
  if (names.size() != count) throw std::runtime_error("a list is not whole");
  std::size_t size = text_size(answer_name) + 4;
  for (const std::string& name : names) size += text_size(name.size());
  return size;
}

// Lists the variables, then selects and reads each.
void measure_pass(report& table, measured_server& server, const std::vector<std::string>& names,
                  std::size_t list_answer, int rounds) {
  const std::string list = client::packet("CVARLST").bytes();
  const std::string read = read_all_request();
  std::vector<std::string> selections;
  for (const std::string& name : names)
    selections.push_back(client::packet("CVARSET").add_string(name).bytes());
  const comparison times = times_of(rounds, [&] {
    server.exchange(list, list_answer);
    for (const std::string& selection : selections) {
      server.exchange(selection, done_size);
      server.exchange(read, read_answer_size(samples_of_many));
    }
  });
  // 0.25 s for a thousand.
  table.add(time_row("CVARLST, then CVARSET and CREADVARF of each of many", times,
                     at_most(0.25 * static_cast<double>(names.size()))));
}

void measure_file_lists(report& table, const study_files& files, const bench_settings& settings) {
  std::optional<comparison> before;
  for (const int count : {settings.files / 100, settings.files / 10, settings.files}) {
    const crowded_directory crowd(files, count);
    measured_server server(files, true, crowd.name());
    const std::string request = client::packet("CFILELST").bytes();
    const std::size_t answer = list_size(6, server.connection().files(), static_cast<std::size_t>(count));
    const comparison now = compare(
        3 * settings.rounds, [&] { server.exchange(request, answer); },
        [&] { read_all(crowd.descriptors()); });
    const std::string name = "CFILELST, files: " + std::to_string(count);
    table.add(time_row(name, now, at_most(2)));
    table.add(growth_row(name + ", growth", now, 10, before, at_most(linear)));
    before = now;
  }
}

}  // namespace

void measure_lists(report& table, const study_files& files, const bench_settings& settings) {
  measured_server server(files);
  server.connection().set_file(variables_file);
  const std::vector<std::string> names = server.connection().variables();
  const std::size_t answer = list_size(5, names, static_cast<std::size_t>(settings.variables));

  std::vector<std::string> paths;
  for (int i = 1; i <= settings.variables; ++i) paths.push_back(files.descriptor(i));
  const comparison times = compare(
      51, [&] { server.exchange(client::packet("CVARLST").bytes(), answer); }, [&] { read_all(paths); });
  table.add(time_row("CVARLST of many variables", times, at_most(2)));
  measure_pass(table, server, names, answer, settings.rounds);
  measure_file_lists(table, files, settings);
}

}  // namespace qrd::bench
