// The debug print: the traffic on standard output, with what the client has selected.
#include <unistd.h>

#include <cstdarg>
#include <string>

#include "server/connection.h"
#include "server/context.h"
#include "server/format_text.h"
#include "server/trace.h"
#include "units/qu_units.h"

namespace qrd {

std::int32_t debug_on = 0;
std::int32_t debug_network = 0;

namespace {

constexpr int dash_count = 79;

void print_context() {
  const server_context& context = current_context;
  std::printf("qrd_init=\"%s\"\ns=\"%s\", d=\"%s\", f=\"%s\", v=\"%s\"\ns=\"%s\", i=\"%d\", u=\"%s\"\n",
              context.qrd_init, context.study, context.directory, context.file, context.variable,
              context.selection, context.indice, distance_format.unit);
}

}  // namespace

void server_debug_mode(std::int32_t on) {
  if (trace_level >= 1) {
    _qrd_trace_enter("server_debug_mode", 1);
    _qrd_trace("(%d)", on);
  }
  debug_on = on;
  debug_network = on;
  server_debug(0, "Setting debug mode to %s.", on != 0 ? "on" : "off");
  if (trace_level >= 1) _qrd_trace_exit(nullptr, 0);
}

void server_debug(int with_context, const char* format, ...) {
  if (debug_on == 0 && trace_level == 0) return;
  va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);

  if (trace_level >= 1) _qrd_trace("Debug: %s", text.c_str());
  if (debug_on == 0) return;
  if (text.empty()) {
    std::printf("\n");
    return;
  }
  std::printf("%s\n", std::string(dash_count, '-').c_str());
  std::printf("%s DEBUG(%d): %s\n", server_program, getpid(), text.c_str());
  if (with_context != 0) print_context();
}

void _qrd_debug(const char* format, ...) {
  if (debug_network == 0 && trace_level == 0) return;
  va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);

  if (trace_level >= 1) _qrd_trace("Debug: %s", text.c_str());
  if (debug_network != 0) std::printf("%s Debug: %s\n", program_word(), text.c_str());
}

}  // namespace qrd
