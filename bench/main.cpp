// Measures the server against bare programs, all in one run on one machine, and prints ratios.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "bench/report.h"
#include "bench/sections.h"

int main(int count, char** arguments) {
  using namespace qrd::bench;
  CLI::App program("Measures the server against bare programs that do the least the same work can take.");
  std::int64_t samples = 8'000'000;
  std::int64_t points = 2'000'000;
  int variables = 1000;
  int rounds = 7;
  std::string folder = std::filesystem::temp_directory_path().string();
  std::vector<std::string> wanted;
  program.add_option("--samples", samples, "samples of the variables that are read and written")
      ->capture_default_str();
  program.add_option("--points", points, "points of the file that is made")->capture_default_str();
  program.add_option("--variables", variables, "variables of a file")->capture_default_str();
  program.add_option("--rounds", rounds, "repetitions of each transfer")->capture_default_str();
  program.add_option("--folder", folder, "where the bench's database is made")->capture_default_str();
  program
      .add_option("section", wanted,
                  "reads, writes, memory, trips, lists, creation, appends, polygons, "
                  "wireframes, variables, durability")
      ->check(CLI::IsMember(std::set<std::string>{"reads", "writes", "memory", "trips", "lists", "creation",
                                                  "appends", "polygons", "wireframes", "variables",
                                                  "durability"}));
  CLI11_PARSE(program, count, arguments);

  const std::set<std::string> sections(wanted.begin(), wanted.end());
  const auto runs = [&](const char* section) { return sections.empty() || sections.contains(section); };
  try {
    const study_files files(folder, samples, variables);
    print_heading();
    measure_folder(files);
    if (runs("reads")) measure_reads(files, samples, rounds);
    if (runs("writes")) measure_writes(files, samples, rounds);
    if (runs("memory")) measure_memory(files, samples);
    if (runs("trips")) measure_round_trips(files);
    if (runs("lists")) measure_lists(files, variables);
    if (runs("creation")) measure_creation(files, points, rounds);
    if (runs("appends")) measure_appends(files);
    if (runs("polygons")) measure_polygons(files, rounds);
    if (runs("wireframes")) measure_wireframes(files, rounds);
    if (runs("variables")) measure_many_variables(files, variables);
    if (runs("durability")) measure_durability(files);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "qrd_bench: %s\n", problem.what());
    return 1;
  }
}
