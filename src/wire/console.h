// What the wire tells on the console.
#pragma once

namespace qrd {

void _qrd_print_error(const char* text);

struct console_state {
  bool debug = false;  // the traffic is shown
  // Prints what the client has selected, where somebody knows that.
  void (*print_context)() = nullptr;
  void (*error_sink)(const char* text) = _qrd_print_error;
};
extern console_state console;

}  // namespace qrd
