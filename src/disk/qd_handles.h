// Whether the process can open files at all.
#pragma once

namespace qrd {

// What fails when the file system can't be asked.
inline constexpr char access_failed[] = "FILE SYSTEM ACCESS FAILED";
// 1 if two more files can be open, or 0 after the report that too many are.
int qd_two_files_available(const char* failed = access_failed, const char* before = "");

}  // namespace qrd
