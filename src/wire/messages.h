// The errors of the network layer. They go to standard error and the trace, never to a client.
#pragma once

namespace qrd {

void _qrd_error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_error_system(const char* format, ...) __attribute__((format(printf, 1, 2)));
void _qrd_error_socket(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace qrd
