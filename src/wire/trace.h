// The trace file.
#pragma once

#include <cstdint>
#include <cstdio>

namespace qrd {

extern std::int32_t is_server;    // 1: the program word is "QRDserver"
extern std::int32_t trace_level;  // 0 when tracing is off
extern std::int32_t trace_indent;
extern std::FILE* trace_file;

const char* program_word();

// Callers test trace_level first.
void _qrd_trace_init();
void _qrd_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_trace_enter(const char* function, int more_follows);
void _qrd_trace_exit(const char* format, int value);

}  // namespace qrd
