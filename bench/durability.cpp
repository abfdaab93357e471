// What it costs to have changes on the disk before they are answered.
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "bench/measured_server.h"
#include "bench/report.h"
#include "bench/sections.h"
#include "bench/timing.h"

namespace qrd::bench {

namespace {

// An environment variable of the servers that are started while it lives. Null unsets it.
class setting {
 public:
  setting(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    set(value);
  }
  setting(const setting&) = delete;
  setting& operator=(const setting&) = delete;
  ~setting() { set(before_ ? before_->c_str() : nullptr); }

 private:
  void set(const char* value) const {
    if (value != nullptr)
      setenv(name_, value, 1);
    else
      unsetenv(name_);
  }

  const char* name_;
  std::optional<std::string> before_;
};

struct durability_row {
  const char* value;
  const char* label;
};
constexpr durability_row rows[] = {{"0", "QRD_SYNC=0"}, {nullptr, "by default"}, {"1", "QRD_SYNC=1"}};

template <typename Act>
std::string median_of(int count, Act act) {
  std::vector<double> times;
  for (int i = 0; i < count; ++i) times.push_back(seconds([&] { act(i); }));
  return milliseconds(median(times));
}

}  // namespace

void measure_durability(const study_files& files) {
  constexpr int count = 50;
  const std::vector<double> three = {1, 2, 3};
  for (const durability_row& row : rows) {
    const setting environment("QRD_SYNC", row.value);
    measured_server server(files);
    client::connection& connection = server.connection();
    const std::string prefix = "sync ";
    const std::string file =
        median_of(count, [&](int i) { connection.new_points(prefix + std::to_string(i), 3, three); });
    connection.set_file(prefix + "0");
    const std::string variable =
        median_of(count, [&](int i) { connection.new_float_variable("v" + std::to_string(i), 64); });
    const std::string append = median_of(count, [&](int) { connection.append_points(3, three); });
    for (int i = 0; i < count; ++i) {
      connection.set_file(prefix + std::to_string(i));
      connection.delete_file();
    }
    print_figure(std::string("a points file, a variable, an append, ") + row.label,
                 file + ", " + variable + ", " + append);
  }
}

}  // namespace qrd::bench
