// The table that a bench program prints, and the same as JSON. Nothing fails by a row.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bench/machine.h"
#include "bench/timing.h"
#include "command/json.h"

namespace qrd::bench {

enum class wish { at_least, at_most };
struct bound {
  wish direction;
  double value;
};
constexpr bound at_least(double value) {
  return {wish::at_least, value};
}
constexpr bound at_most(double value) {
  return {wish::at_most, value};
}

// One figure. Runs on several machines are compared by section and name, so a name stays what it is.
struct row {
  std::string name;
  double measured;
  std::optional<double> bare;  // what the server is compared with
  std::string unit;            // of both
  std::optional<double> ratio = {};
  std::optional<bound> limit = {};             // of the ratio; without one, of what was measured
  std::optional<double> measured_spread = {};  // upper over lower quartile
  std::optional<double> bare_spread = {};
  int repeated = 0;  // for a busy machine
  std::string note = {};
};

// MiB/s of a transfer, and the ratio of the speeds. REQUIRES: something bare.
row speed_row(const std::string& name, std::size_t bytes, const comparison& times,
              std::optional<bound> limit = std::nullopt);
// Milliseconds, and the ratio of the times if there is something bare.
row time_row(const std::string& name, const comparison& times, std::optional<bound> limit = std::nullopt);
// A row for one size of several. The ratio is the growth of the time since the size before, over the growth
// of the size: 1 is linear, more is worse.
row growth_row(const std::string& name, const comparison& times, double size_growth,
               const std::optional<comparison>& before, std::optional<bound> limit = std::nullopt);

// The bound of such a ratio: linear, but for what figures differ by anyway.
inline constexpr double linear = 1.25;

class report {
 public:
  // `other` heads the column of what the server is compared with. `options` are told in the JSON.
  report(std::string program, std::string other, command::json options);
  // The rows that follow belong to it.
  void begin_section(const std::string& name) { section_ = name; }
  void add(const row& one);
  // Says that something isn't installed, and so not measured.
  void leave_out(const std::string& what);
  // Prints how busy the machine is now. Writes the JSON, unless the path is empty; an `error` if it can't.
  void finish(const std::string& json_path) const;

 private:
  std::string program_;
  command::json options_;
  machine_state begin_;
  std::string begun_;
  std::string section_;
  command::json left_out_ = command::json::array();
  command::json rows_ = command::json::array();
};

}  // namespace qrd::bench
