// Measures the server against bare programs, all in one run on one machine, and prints ratios.
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench/program.h"
#include "bench/report.h"
#include "bench/sections.h"

int main(int count, char** arguments) {
  using namespace qrd::bench;
  bench_settings settings;
  std::string folder = std::filesystem::temp_directory_path().string();
  std::string json_path;
  std::vector<std::string> wanted;

  using rows_of = std::function<void(report&, const study_files&)>;
  const auto with_settings = [&](auto measure) {
    return [&settings, measure](report& table, const study_files& files) { measure(table, files, settings); };
  };
  const std::vector<std::pair<std::string, rows_of>> sections = {
      {"reads", with_settings(measure_reads)},
      {"writes", with_settings(measure_writes)},
      {"memory", with_settings(measure_memory)},
      {"trips", measure_round_trips},
      {"lines", with_settings(measure_lines)},
      {"lists", with_settings(measure_lists)},
      {"creation", with_settings(measure_creation)},
      {"appends", with_settings(measure_appends)},
      {"deletion", with_settings(measure_deletion)},
      {"polygons", with_settings(measure_polygons)},
      {"wireframes", with_settings(measure_wireframes)},
      {"variables", with_settings(measure_many_variables)},
      {"durability", measure_durability},
  };
  std::vector<std::string> names;
  std::string all_names;
  for (const auto& [name, unused] : sections) {
    names.push_back(name);
    all_names += (all_names.empty() ? "" : ", ") + name;
  }

  const auto work = [&] {
    const std::set<std::string> chosen(wanted.begin(), wanted.end());
    const study_files files(folder, settings.samples, settings.variables, settings.lines);
    report table("qrd_bench", "bare",
                 {{"samples", settings.samples},
                  {"points", settings.points},
                  {"lines", settings.lines},
                  {"variables", settings.variables},
                  {"files", settings.files},
                  {"rounds", settings.rounds}});
    table.begin_section("machine");
    measure_folder(table, files);
    for (const auto& [name, measure] : sections) {
      if (!chosen.empty() && !chosen.contains(name)) continue;
      table.begin_section(name);
      measure(table, files);
    }
    table.finish(json_path);
  };
  const auto add = [&](const qrd::command::command_line& program) {
    const auto add_size = [&](const char* name, auto& value, int least, int most, const char* text) {
      program.add_option(name, value, text).range(least, most).shows_default();
    };
    // The upper ends keep a run below 2 GB of disk.
    add_size("--samples", settings.samples, 1'000, 40'000'000,
             "samples of the variables that are read and written");
    add_size("--points", settings.points, 1'000, 10'000'000, "points of the file that is made");
    add_size("--lines", settings.lines, 100, 10'000'000, "lines of a file");
    add_size("--variables", settings.variables, 10, 5'000, "variables of a file");
    add_size("--files", settings.files, 1'000, 20'000, "files of a directory");
    add_size("--rounds", settings.rounds, 1, 1000, "repetitions of each transfer");
    program.add_option("--folder", folder, "where the bench's database is made").shows_default();
    program.add_option("--json", json_path, "a file for the same rows as JSON");
    program.add_option("section", wanted, all_names + "; all of them by default").one_of(names);
    program.callback(work);
  };
  return run_program("qrd_bench",
                     "Measures the server against bare programs that do the least the same work can take.",
                     add, count, arguments)
             ? 0
             : 2;
}
