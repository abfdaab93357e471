// Measures the server against bare programs, all in one run on one machine, and prints ratios.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench/report.h"
#include "bench/sections.h"

int main(int count, char** arguments) {
  using namespace qrd::bench;
  CLI::App program("Measures the server against bare programs that do the least the same work can take.");
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
  std::set<std::string> names;
  std::string all_names;
  for (const auto& [name, unused] : sections) {
    names.insert(name);
    all_names += (all_names.empty() ? "" : ", ") + name;
  }

  // The upper ends keep a run below 2 GB of disk.
  program.add_option("--samples", settings.samples, "samples of the variables that are read and written")
      ->check(CLI::Range(1'000, 40'000'000))
      ->capture_default_str();
  program.add_option("--points", settings.points, "points of the file that is made")
      ->check(CLI::Range(1'000, 10'000'000))
      ->capture_default_str();
  program.add_option("--lines", settings.lines, "lines of a file")
      ->check(CLI::Range(100, 10'000'000))
      ->capture_default_str();
  program.add_option("--variables", settings.variables, "variables of a file")
      ->check(CLI::Range(10, 5'000))
      ->capture_default_str();
  program.add_option("--files", settings.files, "files of a directory")
      ->check(CLI::Range(1'000, 20'000))
      ->capture_default_str();
  program.add_option("--rounds", settings.rounds, "repetitions of each transfer")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  program.add_option("--folder", folder, "where the bench's database is made")->capture_default_str();
  program.add_option("--json", json_path, "a file for the same rows as JSON");
  program.add_option("section", wanted, all_names + "; all of them by default")->check(CLI::IsMember(names));
  CLI11_PARSE(program, count, arguments);

  const std::set<std::string> chosen(wanted.begin(), wanted.end());
  try {
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
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "qrd_bench: %s\n", problem.what());
    return 1;
  }
}
