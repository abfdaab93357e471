#include "disk/qd_handles.h"

#include "util/qu_file.h"

namespace qrd {

namespace {

enum class test_memory { none, untested, passed } memory = test_memory::none;

}  // namespace

handles_tested_once::handles_tested_once() {
  memory = test_memory::untested;
}

handles_tested_once::~handles_tested_once() {
  memory = test_memory::none;
}

bool qd_two_files_available(const char* failed, const char* before) {
  if (memory == test_memory::passed) return true;
  if (qu_test_open_file(2) == 0) {
    qu_report_too_many_files(failed, before);
    return false;
  }
  if (memory == test_memory::untested) memory = test_memory::passed;
  return true;
}

}  // namespace qrd
