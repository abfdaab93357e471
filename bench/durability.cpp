// What it costs to have changes on the disk before they are answered.
#include <string>
#include <vector>

#include "bench/measured_server.h"
#include "bench/report.h"
#include "bench/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

namespace {

struct durability {
  const char* value;
  const char* label;
};
constexpr durability durabilities[] = {{"0", "QRD_SYNC=0"}, {nullptr, "by default"}, {"1", "QRD_SYNC=1"}};

}  // namespace

void measure_durability(report& table, const study_files& files) {
  constexpr int count = 50;
  const std::vector<double> three = {1, 2, 3};
  for (const durability& one : durabilities) {
    const server_setting environment("QRD_SYNC", one.value);
    measured_server server(files);
    client::connection& connection = server.connection();
    const auto add = [&](const char* what, const comparison& times) {
      table.add(time_row(std::string(what) + ", " + one.label, times));
    };
    int made = 0;
    add("a points file",
        times_of(count, [&] { connection.new_points("sync " + std::to_string(++made), 3, three); }));
    connection.set_file("sync 1");
    int variables = 0;
    add("a variable",
        times_of(count, [&] { connection.new_float_variable("v" + std::to_string(++variables), 64); }));
    add("an append", times_of(count, [&] { connection.append_points(3, three); }));
    for (int i = 1; i <= made; ++i) {
      connection.set_file("sync " + std::to_string(i));
      connection.delete_file();
    }
  }
}

}  // namespace qrd::bench
