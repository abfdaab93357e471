// The report that the file system can't be asked.
#pragma once

namespace qrd {

// `before` stands in front of the first line.
void qd_report_no_access(const char* before = "");
// 1 if two more files can be opened; 0 after the report.
int qd_can_access(const char* before = "");

}  // namespace qrd
