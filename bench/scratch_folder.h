// A folder for the time of a run.
#pragma once

#include <filesystem>
#include <string>

namespace qrd::bench {

// Removed with all it holds at the end.
class scratch_folder {
 public:
  // Below `parent`, for its owner alone, under a new name that begins with `prefix`.
  scratch_folder(const std::filesystem::path& parent, const std::string& prefix);
  scratch_folder(const scratch_folder&) = delete;
  scratch_folder& operator=(const scratch_folder&) = delete;
  ~scratch_folder();
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace qrd::bench
