// A database root for the bench, written without the server: its files are what the bare programs compare
// with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace qrd::bench {

inline constexpr char study_name[] = "Bench";
inline constexpr char directory_name[] = "Data";
inline constexpr char samples_file[] = "samples";      // "64", "32" and "8": variables of so many bits
inline constexpr char variables_file[] = "variables";  // many variables, one sample each

// A folder that is removed with all it holds at the end.
class study_files {
 public:
  // Below `parent`; with `samples` samples and `variables` variables.
  study_files(const std::filesystem::path& parent, std::int64_t samples, int variables);
  study_files(const study_files&) = delete;
  study_files& operator=(const study_files&) = delete;
  ~study_files();

  const std::filesystem::path& root() const { return root_; }
  // The study's one directory, "DIRE.1".
  std::filesystem::path directory() const;
  std::string data_file(int bits) const;
  // The descriptor of variable `number` of the file of many variables, from 1.
  std::string descriptor(int number) const;

 private:
  std::filesystem::path root_;
};

}  // namespace qrd::bench
