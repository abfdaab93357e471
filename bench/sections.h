// What the bench measures. Each section adds its rows.
#pragma once

#include <cstdint>

#include "bench/report.h"
#include "bench/study_files.h"

namespace qrd::bench {

// Sizes and counts, as the options of the program give them.
struct bench_settings {
  std::int64_t samples = 8'000'000;
  std::int64_t points = 2'000'000;
  std::int64_t lines = 1'000'000;
  int variables = 1000;
  int files = 10'000;
  int rounds = 7;
};

void measure_reads(report& table, const study_files& files, const bench_settings& settings);
void measure_writes(report& table, const study_files& files, const bench_settings& settings);
// What a read takes of memory.
void measure_memory(report& table, const study_files& files, const bench_settings& settings);
void measure_round_trips(report& table, const study_files& files);
// Single samples and lines of a file with many lines.
void measure_lines(report& table, const study_files& files, const bench_settings& settings);
// Listing variables, reading each, and listing files.
void measure_lists(report& table, const study_files& files, const bench_settings& settings);
// What the file system itself takes for a folder with three empty files, as a variable has them: the least
// that each new object costs.
void measure_folder(report& table, const study_files& files);
void measure_creation(report& table, const study_files& files, const bench_settings& settings);
void measure_appends(report& table, const study_files& files, const bench_settings& settings);
void measure_deletion(report& table, const study_files& files, const bench_settings& settings);
void measure_polygons(report& table, const study_files& files, const bench_settings& settings);
void measure_wireframes(report& table, const study_files& files, const bench_settings& settings);
// The same small changes with each setting of QRD_SYNC.
void measure_durability(report& table, const study_files& files);
void measure_many_variables(report& table, const study_files& files, const bench_settings& settings);

}  // namespace qrd::bench
