// The descriptor of a study.
#pragma once

#include <cstdint>

namespace qrd {

// Version 14.0.0 of the database, (major * 100 + minor) * 100 + patch.
inline constexpr std::int64_t PROGRAM_VERSION = 140000;
inline constexpr std::int64_t STUDY_DESCRIPTOR_VERSION = 520;

// A version number taken apart.
struct version_parts {
  std::int64_t major, minor, patch;
};
constexpr version_parts parts_of_version(std::int64_t version) {
  return {version / 10000, version % 10000 / 100, version % 100};
}

struct study_record {
  std::int64_t unit_flag = 1;
  std::int64_t study_version = PROGRAM_VERSION;
  std::int64_t is_64bit = 0;
};

enum class [[nodiscard]] study_fitness{usable,
                                       gone,  // the folder is no more
                                       unreadable, other_version};

// A missing one is made anew.
study_fitness qu_study_descriptor_read(bool report, const char* name, const char* path, study_record* record);
// The version written is always PROGRAM_VERSION. What can't be written leaves the old descriptor; one that
// can't even be opened is fatal. May end the process.
void qu_study_descriptor_write(const char* path, study_record* record);
// The same, but false where it can't be written.
[[nodiscard]] bool qu_study_descriptor_write_n(const char* path, study_record* record);
// Writes into the open study's descriptor that it holds counters beyond 32 bits, unless it says so.
void qu_study_mark_64bit();

}  // namespace qrd
