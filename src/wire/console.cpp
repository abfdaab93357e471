#include "wire/console.h"

#include <cstdio>

#include "wire/connection.h"

namespace qrd {

constinit console_state console;

void _qrd_print_error(const char* text) {
  std::fprintf(stderr, "%s ERROR: %s\n", server_program, text);
}

}  // namespace qrd
