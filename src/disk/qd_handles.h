// Whether the process can open files at all.
#pragma once

namespace qrd {

// What fails when the file system can't be asked.
inline constexpr char access_failed[] = "FILE SYSTEM ACCESS FAILED";
// True if two more files can be open; false after the report that too many are.
[[nodiscard]] bool qd_two_files_available(const char* failed = access_failed, const char* before = "");

// While this lives, files that were available once are taken to be available: what a request opens itself are
// few, and what fails to open later is refused where it fails. REQUIRES: only one lives.
class handles_tested_once {
 public:
  handles_tested_once();
  handles_tested_once(const handles_tested_once&) = delete;
  handles_tested_once& operator=(const handles_tested_once&) = delete;
  ~handles_tested_once();
};

}  // namespace qrd
