#include "util/qu_message.h"
#include "util/qu_hooks.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace qrd {

namespace {

constexpr std::size_t longest_message = 1000;

// The character behind the conversion that starts at `at`, the place of its percent sign. `shown` is
// what the conversion leaves on the console, or 0 for nothing.
const char* skip_conversion(const char* at, char& shown) {
  at++;
  while (*at != '\0' && std::strchr("-+ #0'", *at) != nullptr) at++;
  while (*at != '\0' && std::strchr("0123456789*.", *at) != nullptr) at++;
  if (std::strncmp(at, "I64", 3) == 0 || std::strncmp(at, "I32", 3) == 0) {
    at += 3;
  } else {
    while (*at != '\0' && std::strchr("hlLqjztwI", *at) != nullptr) at++;
  }
  shown = '\0';
  if (*at == '\0') return at;
  // A character that is no conversion stands for itself: the end of line behind "100%", above all.
  if (std::strchr("diouxXeEfFgGaAcCsSpnZm", *at) == nullptr) shown = *at;
  return at + 1;
}

// The finished text was always read once more as a format by the console. Its effect stays, without
// arguments to read: percent signs come in pairs, and a path with a single one loses some characters.
void print_as_format(const char* text) {
  while (*text != '\0') {
    const char* percent = std::strchr(text, '%');
    if (percent == nullptr) {
      std::fputs(text, stdout);
      return;
    }
    std::fwrite(text, 1, static_cast<std::size_t>(percent - text), stdout);
    char shown = '\0';
    text = skip_conversion(percent, shown);
    if (shown != '\0') std::fputc(shown, stdout);
  }
}

constexpr char numbered_text[] = "Fatal Software Error No %d in function %s()\n";

[[noreturn]] __attribute__((format(printf, 1, 0))) void end_with_text(const char* format, va_list arguments) {
  char text[longest_message + 1];
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  std::printf("\n\nFatal Software Error\n%s\n\n", text);
  std::fflush(stdout);
  qu_exit(2);
}

}  // namespace

void qu_message(const char* format, ...) {
  const int reason = errno;
  char text[longest_message + 2];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, longest_message + 1, format, arguments);
  va_end(arguments);
  std::strcat(text, "\n");
  print_as_format(text);
  std::fflush(stdout);
  errno = reason;
}

void qu_fatal(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  end_with_text(format, arguments);
}

void qu_fatal_number(const char* function, int number) {
  qu_fatal(numbered_text, number, function);
}

void qu_misuse(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  end_with_text(format, arguments);
}

void qu_misuse_number(const char* function, int number) {
  qu_misuse(numbered_text, number, function);
}

const char* qu_strerror(int mode) {
  if (mode != 1) qu_misuse("Programming Error: Call qu_strerror() with invalid mode");
  static char text[256];
  int number = errno;
  const char* known = std::strerror(number);
  if (known != nullptr && *known != '\0')
    std::snprintf(text, sizeof text, "%s", known);
  else
    std::snprintf(text, sizeof text, "Unknown error (errno=%d)", number);
  errno = number;
  return text;
}

void qu_report_failure(const char* what, const char* path) {
  const char* reason = qu_strerror(1);
  qu_message("%s \"%s\": %s", what, path, reason);
}

void qu_recover_advice(bool fatal) {
  static constexpr char advice[] =
      "Please proceed with a Workspace Recover in order to clean up the project.\n\n"
      "Under Windows, simply launch: \n"
      "Start / Programs / Orvane / Velmar / Workspace Recover\n"
      "(NB. this is a silent operation, you will have to launch Velmar again afterward)\n\n"
      "Under Linux, add the '-recover' flag when launching the Velmar application\n";
  if (fatal) qu_fatal("%s", advice);
  qu_message("%s", advice);
}

void qu_exit(int status) {
  // The end of the study may itself meet a fatal error; it is not tried a second time.
  static bool ending = false;
  if (!ending && hooks.end_study != nullptr) {
    ending = true;
    hooks.end_study(status != 2 ? 1 : 0);
  }
  std::fflush(stdout);
  std::exit(status == 0 ? 0 : 1);
}

}  // namespace qrd
