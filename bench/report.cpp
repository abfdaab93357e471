#include "bench/report.h"

#include <cstdio>
#include <ctime>
#include <utility>

#include "command/output_file.h"

namespace qrd::bench {

using command::json;

namespace {

std::string number(double value, const std::string& unit) {
  char text[64];
  std::snprintf(text, sizeof text, "%.4g %s", value, unit.c_str());
  return text;
}

std::string short_number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3g", value);
  return text;
}

std::string now_in_utc() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

json or_null(const std::optional<double>& value) {
  return value ? json(*value) : json();
}

bool holds(const row& one) {
  const double value = one.ratio.value_or(one.measured);
  return !one.limit ||
         (one.limit->direction == wish::at_least ? value >= one.limit->value : value <= one.limit->value);
}

const char* word(wish direction) {
  return direction == wish::at_least ? "at least" : "at most";
}

void print_state(const machine_state& state) {
  const auto& load = state.load_average;
  std::printf(
      "%s, %s, load average %.2f %.2f %.2f\n",
      (std::to_string(state.processors) + (state.processors == 1 ? " processor" : " processors")).c_str(),
      state.megahertz ? number(*state.megahertz, "MHz").c_str() : "clock not told", load[0], load[1],
      load[2]);
}

json state_json(const machine_state& state) {
  return {{"megahertz", or_null(state.megahertz)}, {"load_average", state.load_average}};
}

row median_row(const std::string& name, const comparison& times, const char* unit,
               std::optional<bound> limit) {
  row result{name,          0, std::nullopt, unit, std::nullopt, limit, times.measured.spread(), std::nullopt,
             times.repeated};
  if (times.bare) result.bare_spread = times.bare->spread();
  return result;
}

}  // namespace

row speed_row(const std::string& name, std::size_t bytes, const comparison& times,
              std::optional<bound> limit) {
  row result = median_row(name, times, "MiB/s", limit);
  const double size = static_cast<double>(bytes) / (1 << 20);
  result.measured = size / times.measured.median;
  result.bare = size / times.bare.value().median;
  result.ratio = result.measured / *result.bare;
  return result;
}

row time_row(const std::string& name, const comparison& times, std::optional<bound> limit) {
  row result = median_row(name, times, "ms", limit);
  result.measured = times.measured.median * 1e3;
  if (times.bare) {
    result.bare = times.bare->median * 1e3;
    result.ratio = result.measured / *result.bare;
  }
  return result;
}

row growth_row(const std::string& name, const comparison& times, double size_growth,
               const std::optional<comparison>& before, std::optional<bound> limit) {
  row result = time_row(name, {times.measured, std::nullopt, times.repeated});
  if (before) {
    const double growth = times.measured.median / before->measured.median;
    result.ratio = growth / size_growth;
    result.limit = limit;
    result.note = short_number(growth) + " times as long for " + short_number(size_growth) + " times as many";
  }
  return result;
}

report::report(std::string program, std::string other, json options)
    : program_(std::move(program)),
      options_(std::move(options)),
      begin_(look_at_machine()),
      begun_(now_in_utc()) {
  std::printf("%s: ", begin_.processor.c_str());
  print_state(begin_);
  std::printf("\n%-58s %14s %14s %8s   %s\n", "What", "server", other.c_str(), "ratio", "bound");
  std::fflush(stdout);
}

void report::add(const row& one) {
  std::printf("%-58s %14s %14s %8s  ", (section_ + ": " + one.name).c_str(),
              number(one.measured, one.unit).c_str(), one.bare ? number(*one.bare, one.unit).c_str() : "",
              one.ratio ? short_number(*one.ratio).c_str() : "");
  if (one.limit)
    std::printf(
        " %s %s%s", word(one.limit->direction),
        one.ratio ? short_number(one.limit->value).c_str() : number(one.limit->value, one.unit).c_str(),
        holds(one) ? "" : "  MISSED");
  if (!one.note.empty()) std::printf(" (%s)", one.note.c_str());
  if (one.repeated > 0)
    std::printf(
        " [busy machine: measured %d times, the calmest counts%s]", one.repeated + 1,
        one.bare_spread.value_or(one.measured_spread.value_or(1)) > busy_spread ? ", not calm either" : "");
  std::printf("\n");
  std::fflush(stdout);

  json written = {{"section", section_},       {"name", one.name}, {"measured", one.measured},
                  {"bare", or_null(one.bare)}, {"unit", one.unit}, {"ratio", or_null(one.ratio)}};
  written["wish"] = one.limit ? json(word(one.limit->direction)) : json();
  written["bound"] = one.limit ? json(one.limit->value) : json();
  written["held"] = one.limit ? json(holds(one)) : json();
  written["measured_spread"] = or_null(one.measured_spread);
  written["bare_spread"] = or_null(one.bare_spread);
  written["repeated"] = one.repeated;
  written["note"] = one.note;
  rows_.push_back(std::move(written));
}

void report::leave_out(const std::string& what) {
  std::printf("%s is not installed: left out\n", what.c_str());
  left_out_.push_back(what);
}

void report::finish(const std::string& json_path) const {
  const machine_state end = look_at_machine();
  std::printf("\nAt the end: ");
  print_state(end);
  if (json_path.empty()) return;
  const json all = {{"program", program_},
                    {"begun", begun_},
                    {"ended", now_in_utc()},
                    {"machine",
                     {{"processor", begin_.processor},
                      {"processors", begin_.processors},
                      {"begin", state_json(begin_)},
                      {"end", state_json(end)}}},
                    {"options", options_},
                    {"left_out", left_out_},
                    {"rows", rows_}};
  command::output_file file(json_path, command::existing_file::replaced);
  std::fprintf(file.stream(), "%s\n", json_text(all).c_str());
  file.finish();
}

}  // namespace qrd::bench
