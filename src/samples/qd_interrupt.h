// The seam for a process that keeps the catalogue in memory: it would hear of every change here.
// This server keeps none, so each call returns at once.
#pragma once

#include <cstdint>

namespace qrd {

enum change_code : int {
  CHANGE_CREATED = 1,
  CHANGE_DELETED = 2,
  CHANGE_RENAMED = 4,
  CHANGE_DESCRIPTION = 8,
  CHANGE_DATA = 16
};

// 0 while a creation writes its own descriptors, so that it counts as one change.
extern std::int64_t log_enabled;

// Silences the log for a scope.
class log_pause {
 public:
  log_pause() : before_(log_enabled) { log_enabled = 0; }
  log_pause(const log_pause&) = delete;
  log_pause& operator=(const log_pause&) = delete;
  ~log_pause() { log_enabled = before_; }

 private:
  std::int64_t before_;
};

// Names of deeper levels are null when the change is of a higher one.
void qd_interrupt_add_modif(const char* directory, const char* file, const char* variable,
                            const char* new_name, change_code code);
// The same for a writer that knows only the folder of the object.
void qd_interrupt_add_object(const char* object_path, change_code code);

}  // namespace qrd
