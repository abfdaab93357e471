// What the bench measures. Each section prints its rows.
#pragma once

#include <cstdint>

#include "bench/study_files.h"

namespace qrd::bench {

void measure_reads(const study_files& files, std::int64_t samples, int rounds);
void measure_writes(const study_files& files, std::int64_t samples, int rounds);
void measure_memory(const study_files& files, std::int64_t samples);
void measure_round_trips(const study_files& files);
void measure_lists(const study_files& files, int variables);
// What the file system itself takes for a folder with three empty files, as a variable has them: the least
// that each new object costs.
void measure_folder(const study_files& files);
void measure_creation(const study_files& files, std::int64_t points, int rounds);
void measure_appends(const study_files& files);
void measure_polygons(const study_files& files, int rounds);
void measure_wireframes(const study_files& files, int rounds);
// The same small changes with each setting of QRD_SYNC.
void measure_durability(const study_files& files);
void measure_many_variables(const study_files& files, int variables);

}  // namespace qrd::bench
