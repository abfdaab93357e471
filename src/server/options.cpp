#include "server/options.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "wire/connection.h"
#include "wire/debug.h"
#include "wire/messages.h"
#include "wire/trace.h"

namespace qrd {

namespace {

constexpr int exit_done = 0;
constexpr int exit_failed = 1;

void print_usage_line(const char* program) {
  std::printf("Usage: %s [-help] [-port port_number] [-multisession]\n", program);
}

void print_help(const char* program) {
  print_usage_line(program);
  std::printf(
      " -help             : Prints this message.\n"
      " -debug            : Print client/server messages.\n"
      " -fork             : Detach server from the shell and run as a daemon.\n"
      " -port port_number : Starts server on the given port.\n"
      " -multi[session]   : Create a new process for each session\n");
}

// The banner tells what clients know the server by, this the release that is installed.
void print_version() {
  std::printf("QRDserver %s, protocol %d\n", QRD_VERSION, protocol_version);
}

// Values count in their low 16 bits, and trailing characters don't matter: only a text without any
// number is wrong.
std::optional<std::uint16_t> read_number(const char* text) {
  char* end = nullptr;
  auto number = static_cast<std::uint16_t>(std::strtol(text, &end, 10) & 0xFFFF);
  if (number == 0 && end == text) return std::nullopt;
  return number;
}

// Hands the arguments out one by one; each is traced when its turn comes.
class argument_reader {
 public:
  argument_reader(int count, const char* const* arguments) : count_(count), arguments_(arguments) {}
  const char* next() {
    if (next_ >= count_) return nullptr;
    const char* argument = arguments_[next_++];
    if (tracing.level >= 1) _qrd_trace("  %s", argument);
    return argument;
  }

 private:
  int count_;
  const char* const* arguments_;
  int next_ = 1;
};

std::optional<int> read_port(const char* program, argument_reader& arguments, std::uint16_t& port) {
  const char* text = arguments.next();
  std::optional<std::uint16_t> number;
  if (text != nullptr) {
    number = read_number(text);
    if (!number) _qrd_error("Invalid number in -port argument.");
  }
  if (!number) {
    print_usage_line(program);
    return exit_failed;
  }
  port = *number;
  return std::nullopt;
}

std::optional<int> read_control_port(argument_reader& arguments, std::uint16_t& port) {
  const char* text = arguments.next();
  if (text == nullptr) {
    _qrd_error("Control Socket Port undefined.");
    return std::nullopt;
  }
  std::optional<std::uint16_t> number = read_number(text);
  if (!number) {
    _qrd_error("Control Socket Port (%s) should be a number.", text);
    return exit_failed;
  }
  port = *number;
  return std::nullopt;
}

std::optional<int> read_client_version(argument_reader& arguments) {
  const char* text = arguments.next();
  if (text == nullptr) {
    _qrd_error("Client version undefined.");
    return std::nullopt;
  }
  std::optional<std::uint16_t> number = read_number(text);
  if (!number) {
    _qrd_error("Client version (%s) should be a number.", text);
    return exit_failed;
  }
  connection.client_version = *number;
  return std::nullopt;
}

// Of the options that the process acts on behind them all.
std::optional<int> check_together(const server_options& options) {
  const bool is_multi = connection.multi_session != 0;
  if (options.one_port && !is_multi) {
    _qrd_error("-oneport goes with -multi alone.");
    return exit_failed;
  }
  if (options.inetd && (options.port != 0 || options.control_port != 0 || is_multi || options.fork)) {
    _qrd_error("-inetd goes with none of -port, -control, -multi and -fork.");
    return exit_failed;
  }
  return std::nullopt;
}

}  // namespace

bool is_started_with_connection(int argument_count, const char* const* arguments) {
  return std::any_of(arguments + 1, arguments + argument_count,
                     [](const char* argument) { return std::strcmp(argument, "-inetd") == 0; });
}

std::optional<int> read_options(int argument_count, const char* const* arguments, server_options& options) {
  argument_reader reader(argument_count, arguments);
  const char* program = arguments[0];
  while (const char* argument = reader.next()) {
    auto is = [argument](const char* option) { return std::strcmp(argument, option) == 0; };
    std::optional<int> exit_status;
    if (is("-port")) {
      exit_status = read_port(program, reader, options.port);
    } else if (is("-fork")) {
      options.fork = true;
    } else if (is("-multi") || is("-multisession")) {
      connection.multi_session = 1;
    } else if (is("-debug")) {
      server_debug_mode(1);
    } else if (is("-help") || is("--help") || is("-h")) {
      print_help(program);
      exit_status = exit_done;
    } else if (is("-version") || is("--version")) {
      print_version();
      exit_status = exit_done;
    } else if (is("-control")) {
      exit_status = read_control_port(reader, options.control_port);
    } else if (is("-client_version")) {
      exit_status = read_client_version(reader);
    } else if (is("-inetd")) {
      options.inetd = true;
    } else if (is("-oneport")) {
      options.one_port = true;
    } else if (is("-quiet")) {
      options.quiet = true;
    }
    if (exit_status) return exit_status;
  }
  return check_together(options);
}

}  // namespace qrd
