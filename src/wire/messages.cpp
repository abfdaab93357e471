// The errors of the network layer. They go to standard error and the trace, never to a client.
#include "wire/messages.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string>

#include "wire/console.h"
#include "wire/format_text.h"
#include "wire/socket_errors.h"
#include "wire/trace.h"

namespace qrd {

void _qrd_error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);
  if (tracing.level >= 1) _qrd_trace("Error: %s", text.c_str());
  console.error_sink(text.c_str());
}

void _qrd_error_system(const char* format, ...) {
  int code = errno;
  va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);
  _qrd_error("%s%s%s", text.c_str(), ": ", std::strerror(code));
}

void _qrd_error_socket(const char* format, ...) {
  int code = errno;
  va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);
  std::string reason = std::string("Winsock error: ") + socket_error_text(code);
  _qrd_error("%s%s%s", text.c_str(), "\n", reason.c_str());
}

}  // namespace qrd
