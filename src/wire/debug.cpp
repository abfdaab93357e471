// The debug print: the traffic on standard output, with what the client has selected.
#include "wire/debug.h"

#include <unistd.h>

#include <cstdarg>
#include <string>

#include "wire/connection.h"
#include "wire/console.h"
#include "wire/format_text.h"
#include "wire/trace.h"

namespace qrd {

namespace {

constexpr int dash_count = 79;

bool is_shown() {
  return console.debug || tracing.level > 0;
}

// The text of a print, which the trace has got then.
__attribute__((format(printf, 1, 0))) std::string traced_text(const char* format, va_list arguments) {
  std::string text = format_text(format, arguments);
  if (tracing.level >= 1) _qrd_trace("Debug: %s", text.c_str());
  return text;
}

}  // namespace

void server_debug_mode(std::int32_t on) {
  if (tracing.level >= 1) {
    _qrd_trace_enter("server_debug_mode", 1);
    _qrd_trace("(%d)", on);
  }
  console.debug = on != 0;
  server_debug(0, "Setting debug mode to %s.", on != 0 ? "on" : "off");
  if (tracing.level >= 1) _qrd_trace_exit(nullptr, 0);
}

void server_debug(int with_context, const char* format, ...) {
  if (!is_shown()) return;
  va_list arguments;
  va_start(arguments, format);
  const std::string text = traced_text(format, arguments);
  va_end(arguments);
  if (!console.debug) return;
  if (text.empty()) {
    std::printf("\n");
    return;
  }
  std::printf("%s\n", std::string(dash_count, '-').c_str());
  std::printf("%s DEBUG(%d): %s\n", server_program, getpid(), text.c_str());
  if (with_context != 0 && console.print_context != nullptr) console.print_context();
}

void _qrd_debug(const char* format, ...) {
  if (!is_shown()) return;
  va_list arguments;
  va_start(arguments, format);
  const std::string text = traced_text(format, arguments);
  va_end(arguments);
  if (console.debug) std::printf("%s Debug: %s\n", server_program, text.c_str());
}

}  // namespace qrd
