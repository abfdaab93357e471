// The trace file, the debug print and the errors of the network layer.
#pragma once

#include <cstdint>
#include <cstdio>

namespace qrd {

extern std::int32_t is_server;    // 1: the program word is "QRDserver"
extern std::int32_t trace_level;  // 0 when tracing is off
extern std::int32_t trace_indent;
extern std::FILE* trace_file;
extern std::int32_t debug_on;
extern std::int32_t debug_network;
extern void (*error_sink)(const char* text);

const char* program_word();

// Callers test trace_level first.
void _qrd_trace_init();
void _qrd_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_trace_enter(const char* function, int more_follows);
void _qrd_trace_exit(const char* format, int value);

void server_debug_mode(std::int32_t on);
// With `with_context` the print shows what the client has selected.
void server_debug(int with_context, const char* format, ...) __attribute__((format(printf, 2, 3)));

void _qrd_debug(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_error_system(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_error_socket(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_print_error(const char* text);

}  // namespace qrd
