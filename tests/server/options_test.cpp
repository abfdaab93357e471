// The command line, the banner and the trace of the start, of the real program.
#include <ctime>

#include "server/trace_text.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

const std::string program = server_program;
const std::string banner = program + " 15.03 (2015.3)\n";
const std::string usage = "Usage: " + program + " [-help] [-port port_number] [-multisession]\n";
const std::string help = usage +
                         " -help             : Prints this message.\n"
                         " -debug            : Print client/server messages.\n"
                         " -fork             : Detach server from the shell and run as a daemon.\n"
                         " -port port_number : Starts server on the given port.\n"
                         " -multi[session]   : Create a new process for each session\n";

const std::string version_line = "QRDserver " QRD_VERSION ", protocol 1300030\n";

// No server can listen there, so that a start which gets that far fails without taking a port.
const std::map<std::string, std::string> no_listening = {{"QRD_LISTEN_ADDRESS", "nowhere"}};
const std::string start_failed =
    "QRDserver ERROR: Cannot bind socket\nWinsock error: The address is not one of this machine\n"
    "QRDserver ERROR: QRD_LISTEN_ADDRESS is \"nowhere\", which is not an IPv4 address of this machine.\n"
    "QRDserver ERROR: Cannot initialize server.\n";

struct option_case {
  strings arguments;
  int status;
  std::string output;  // behind the banner
  std::string errors;
};

TEST(options, each_has_its_effect) {
  const option_case cases[] = {
      {{"-help"}, 0, help, ""},
      {{"-port"}, 1, usage, ""},
      {{"-port", "x"}, 1, usage, "QRDserver ERROR: Invalid number in -port argument.\n"},
      {{"-port", "x", "-help"}, 1, usage, "QRDserver ERROR: Invalid number in -port argument.\n"},
      {{"-port", "12x", "-help"}, 0, help, ""},
      {{"-help", "-port", "x"}, 0, help, ""},
      {{"-fork", "-help"}, 0, help, ""},
      {{"-nothing", "-multisessionX", "-HELP", "--port", "-v", "-help"}, 0, help, ""},
      {{"--help"}, 0, help, ""},
      {{"-port", "12", "-h", "-port", "x"}, 0, help, ""},
      {{"-version"}, 0, version_line, ""},
      {{"-multi", "--version", "-help"}, 0, version_line, ""},
      {{"-control", "x"}, 1, "", "QRDserver ERROR: Control Socket Port (x) should be a number.\n"},
      {{"-client_version", ""}, 1, "", "QRDserver ERROR: Client version () should be a number.\n"},
      {{"-control"}, 1, "", "QRDserver ERROR: Control Socket Port undefined.\n" + start_failed},
      {{"-multi", "-client_version"}, 1, "", "QRDserver ERROR: Client version undefined.\n" + start_failed},
      {{"-control", "0"}, 1, "", start_failed},
  };
  for (const option_case& option : cases) {
    SCOPED_TRACE(testing::PrintToString(option.arguments));
    server_run run = run_server({.arguments = option.arguments, .environment = no_listening});
    EXPECT_EQ(run.status, option.status);
    EXPECT_EQ(run.output, banner + option.output);
    EXPECT_EQ(run.errors, option.errors);
  }
}

// The text between two marks of a trace.
std::string between(const std::string& text, const std::string& before, const std::string& after) {
  std::size_t start = text.find(before);
  if (start == std::string::npos) return "(not traced)";
  start += before.size();
  return text.substr(start, text.find(after, start) - start);
}

TEST(options, ports_are_sixteen_bits) {
  struct {
    strings arguments;
    std::string address_and_port;
  } const cases[] = {{{}, "5500"},
                     {{"-port", "0"}, "5500"},
                     {{"-port", "70000"}, "4464"},
                     {{"-port", "6001", "-control", "0"}, "6001"},
                     {{"-port", "6001", "-control", "7001"}, "0"},
                     {{"-port", "65536", "-port", "6002"}, "6002"}};
  for (const auto& option : cases) {
    temporary_directory directory;
    auto environment = no_listening;
    environment["QRD_SERVER_TRACE"] = "4";
    environment["QRD_SERVER_TRACE_FILE"] = directory / "trace";
    server_run run = run_server({.arguments = option.arguments, .environment = environment});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(between(read_file(directory / "trace"), "Binding socket to nowhere:", "\n"),
              option.address_and_port);
  }
}

TEST(start_trace, tells_the_arguments) {
  temporary_directory directory;
  server_run run = run_server({.arguments = {"-port", "12", "-debug", "other", "-help", "-multi"},
                               .environment = traced("1", directory / "trace")});
  char date[30];
  std::time_t now = std::time(nullptr);
  std::strftime(date, sizeof date, "%b %d %Y", std::localtime(&now));
  EXPECT_EQ(without_times(read_file(directory / "trace")),
            "Tracing QRDserver. Level 1. Date " + std::string(date) + "\nRunning " + program +
                " 2015.3 (15.03)\nProtocol Version: 1300030\nArguments:\n  -port\n  12\n  -debug\n"
                "Function server_debug_mode(1)\n  Debug: Setting debug mode to on.\nFunction returned\n"
                "  other\n  -help\n");
  EXPECT_TRUE(run.output.starts_with(banner + std::string(79, '-') + "\nQRDserver DEBUG(")) << run.output;
  EXPECT_HAS(run.output, "): Setting debug mode to on.\nUsage:");
}

TEST(start_trace, needs_a_number_above_zero) {
  temporary_directory directory;
  for (const char* level : {"0", "-1", "yes", ""}) {
    run_server({.arguments = {"-help"}, .environment = traced(level, directory / "trace")});
    EXPECT_FALSE(fs::exists(directory / "trace")) << level;
  }
}

TEST(start_trace, default_file_is_one_per_process_and_no_link) {
  temporary_directory directory;
  const std::map<std::string, std::string> environment = {{"QRD_SERVER_TRACE", "5"},
                                                          {"TMPDIR", directory.path().string()}};
  server_process server({.arguments = {"-help"}, .environment = environment, .controlled = false});
  EXPECT_EQ(server.wait(), 0);
  std::string name = directory / ("QRDserver_trace_" + std::to_string(server.pid()) + ".txt");
  EXPECT_HAS(read_file(name), "Tracing QRDserver. Level 5. Date ");

  // A name that can't be opened leaves tracing off, and nothing is said.
  server_run run =
      run_server({.arguments = {"-help"}, .environment = traced("5", directory / "missing/trace")});
  EXPECT_EQ(run.output, banner + help);
  EXPECT_EQ(run.errors, "");
}

}  // namespace
}  // namespace qrd::test
