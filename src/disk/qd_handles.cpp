#include "disk/qd_handles.h"

#include "util/qu_file.h"

namespace qrd {

bool qd_two_files_available(const char* failed, const char* before) {
  if (qu_test_open_file(2) != 0) return true;
  qu_report_too_many_files(failed, before);
  return false;
}

}  // namespace qrd
