// The debug print: the traffic on standard output, with what the client has selected.
#pragma once

#include <cstdint>

namespace qrd {

void server_debug_mode(std::int32_t on);
// With `with_context` the print shows what the client has selected.
void server_debug(int with_context, const char* format, ...) __attribute__((format(printf, 2, 3)));
void _qrd_debug(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace qrd
