// A database root for the bench, written without the server: its files are what the bare programs compare
// with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "bench/scratch_folder.h"

namespace qrd::bench {

inline constexpr char study_name[] = "Bench";
inline constexpr char directory_name[] = "Data";
inline constexpr char samples_file[] = "samples";  // variables "64", "32", "16", "8" and "1" of so many bits
inline constexpr int bit_lengths[] = {64, 32, 16, 8, 1};
inline constexpr char variables_file[] = "variables";  // many variables, a hundred samples each
inline constexpr std::int64_t samples_of_many = 100;
inline constexpr char lines_file[] = "lines";    // one sample a line
inline constexpr char points_file[] = "points";  // as many samples; in both a variable "value" of 8 bits

// A folder that is removed with all it holds at the end.
class study_files {
 public:
  // Below `parent`; with `samples` samples, `variables` variables and `lines` lines.
  study_files(const std::filesystem::path& parent, std::int64_t samples, int variables, std::int64_t lines);

  const std::filesystem::path& root() const { return folder_.path(); }
  // The study's one directory, "DIRE.1".
  std::filesystem::path directory() const;
  std::string data_file(int bits) const;
  // The descriptor of variable `number` of the file of many variables, from 1.
  std::string descriptor(int number) const;

 private:
  scratch_folder folder_;
};

// While it lives, a second directory with many files of one sample, "file 1" and so on.
class crowded_directory {
 public:
  crowded_directory(const study_files& files, int count);
  crowded_directory(const crowded_directory&) = delete;
  crowded_directory& operator=(const crowded_directory&) = delete;
  ~crowded_directory();

  std::string name() const { return "Crowded"; }
  const std::vector<std::string>& descriptors() const { return descriptors_; }

 private:
  std::filesystem::path folder_;
  std::vector<std::string> descriptors_;
};

}  // namespace qrd::bench
