// The trace file.
#pragma once

#include <cstdint>
#include <cstdio>

namespace qrd {

struct trace_state {
  std::int32_t level = 0;  // 0 when tracing is off
  std::int32_t indent = 0;
  std::FILE* file = nullptr;
  bool line_start = true;  // false: an entry line waits for the function's arguments
  bool checked = false;    // the environment has been asked
};
extern trace_state tracing;

// Callers test tracing.level first.
void _qrd_trace_init();
void _qrd_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_trace_enter(const char* function, int more_follows);
void _qrd_trace_exit(const char* format, int value);

}  // namespace qrd
