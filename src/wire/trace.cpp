
#include "wire/trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <ctime>
#include <string>

#include "wire/connection.h"
#include "wire/format_text.h"

namespace qrd {

constinit trace_state tracing;

namespace {

constexpr std::int32_t deepest_indent = 5;
constexpr std::size_t longest_file_name = 199;

const char* time_of_day() {
  static char text[30];
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::strftime(text, sizeof text, "%X", &local);
  return text;
}

std::string indentation() {
  return std::string(2 * static_cast<std::size_t>(tracing.indent), ' ');
}

void tell_wrong_indent() {
  std::fprintf(tracing.file, "%s: Error in debug print (wrong indent) !!!!!!\n", time_of_day());
}

void limit_indent() {
  if (tracing.indent <= deepest_indent) return;
  tell_wrong_indent();
  tracing.indent = deepest_indent;
}

// The folder of temporary files belongs to everybody, and the name can be guessed: what stands there
// already is only taken if it is a plain file of this user.
std::FILE* open_default_file() {
  const char* folder = std::getenv("TMPDIR");
  if (folder == nullptr || *folder == '\0') folder = "/tmp";
  std::string path =
      std::string(folder) + "/" + server_program + "_trace_" + std::to_string(getpid()) + ".txt";
  int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
  if (file < 0) return nullptr;
  struct stat status {};
  bool is_own = fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
  std::FILE* stream = is_own ? fdopen(file, "a") : nullptr;
  if (stream == nullptr) close(file);
  return stream;
}

}  // namespace

void _qrd_trace_init() {
  if (tracing.checked) return;
  tracing.checked = true;
  const char* level_text = std::getenv("QRD_SERVER_TRACE");
  if (level_text == nullptr) return;
  long level = std::clamp(std::strtol(level_text, nullptr, 10), 0L, long{INT32_MAX});
  if (level == 0) return;

  const char* name = std::getenv("QRD_SERVER_TRACE_FILE");
  if (tracing.file != nullptr) std::fclose(tracing.file);
  tracing.file = name == nullptr ? open_default_file()
                                 : std::fopen(std::string(name).substr(0, longest_file_name).c_str(), "ae");
  if (tracing.file == nullptr) {
    tracing.level = 0;
    return;
  }
  tracing.level = static_cast<std::int32_t>(level);
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char date[30];
  std::strftime(date, sizeof date, "%b %d %Y", &local);
  _qrd_trace("Tracing %s. Level %d. Date %s", server_program, tracing.level, date);
}

void _qrd_trace(const char* format, ...) {
  if (tracing.file == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);
  if (tracing.line_start) {
    limit_indent();
    std::fprintf(tracing.file, "%s: %s%s\n", time_of_day(), indentation().c_str(), text.c_str());
  } else {
    std::fprintf(tracing.file, "%s\n", text.c_str());
  }
  std::fflush(tracing.file);
  tracing.line_start = true;
}

void _qrd_trace_enter(const char* function, int more_follows) {
  if (tracing.file == nullptr) return;
  std::fprintf(tracing.file, "%s: %sFunction %s%s", time_of_day(), indentation().c_str(), function,
               more_follows != 0 ? "" : "\n");
  std::fflush(tracing.file);
  ++tracing.indent;
  tracing.line_start = more_follows == 0;
  limit_indent();
}

void _qrd_trace_exit(const char* format, int value) {
  if (tracing.file == nullptr) return;
  if (--tracing.indent < 0) {
    tell_wrong_indent();
    tracing.indent = 0;
  }
  std::fprintf(tracing.file, "%s: %sFunction returned", time_of_day(), indentation().c_str());
  if (format != nullptr) {
    std::fputc(' ', tracing.file);
    std::fprintf(tracing.file, format, value);
  }
  std::fputc('\n', tracing.file);
  std::fflush(tracing.file);
  tracing.line_start = true;
}

}  // namespace qrd
