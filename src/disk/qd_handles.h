// Whether the process can open files at all.
#pragma once

namespace qrd {

// What fails when the file system can't be asked.
inline constexpr char access_failed[] = "FILE SYSTEM ACCESS FAILED";
// True if two more files can be open; false after the report that too many are.
[[nodiscard]] bool qd_two_files_available(const char* failed = access_failed, const char* before = "");

}  // namespace qrd
