// A file of many lines: what it costs to read little of it.
#include <string>

#include "bench/measured_server.h"
#include "bench/report.h"
#include "bench/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

void measure_lines(report& table, const study_files& files, const bench_settings& settings) {
  constexpr int reads = 200;
  const std::int64_t middle = settings.lines / 2;
  const auto select = [](measured_server& server, const char* file) {
    server.connection().set_file(file);
    server.connection().set_variable("value");
  };
  measured_server lines(files);
  measured_server points(files);
  select(lines, lines_file);
  select(points, points_file);
  const std::string sample = client::packet("CREADVARF").add_long(middle).add_long(middle).add_int(0).bytes();
  const std::size_t answer = read_answer_size(1);
  const auto from_points = [&] { points.exchange(sample, answer); };
  table.add(time_row("one sample, beside a points file",
                     compare(
                         reads, [&] { lines.exchange(sample, answer); }, from_points),
                     at_most(2)));

  // Its count is an int.
  const std::string line = client::packet("CREADLINF").add_int(static_cast<std::int32_t>(middle)).bytes();
  table.add(time_row("one line of one sample (CREADLINF), beside a points file",
                     compare(
                         reads, [&] { lines.exchange(line, answer - 4); }, from_points)));
}

}  // namespace qrd::bench
