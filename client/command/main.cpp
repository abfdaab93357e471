// qrd: a QRDserver's database from the command line.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "client/command/options.h"
#include "client/interruption.h"
#include "client/names.h"

namespace {

constexpr int failed = 1;
constexpr int wrong_usage = 2;
constexpr int no_connection = 3;

// What went wrong; the lines behind the first one are indented.
int complain(const std::string& text, int status) {
  std::string shown;
  for (const char character : text.substr(0, text.find_last_not_of(" \r\n") + 1)) {
    if (character == '\r') continue;
    shown += character;
    if (character == '\n') shown += "  ";
  }
  std::fprintf(stderr, "qrd: %s\n", shown.c_str());
  return status;
}

// What is wrong with the words; of a wrong subcommand what it could have been.
std::string usage_text(const CLI::App& program, const CLI::ParseError& problem) {
  const CLI::App* parent = &program;
  while (!parent->get_subcommands().empty()) parent = parent->get_subcommands().front();
  const std::vector<std::string> left = program.remaining(true);
  std::vector<std::string> known;
  for (const CLI::App* one : parent->get_subcommands([](const CLI::App*) { return true; }))
    known.push_back(one->get_name());
  std::string name = parent->get_name();
  for (const CLI::App* above = parent->get_parent(); above != nullptr; above = above->get_parent())
    name = above->get_name() + " " + name;
  const auto word =
      std::find_if(left.begin(), left.end(), [](const auto& one) { return !one.starts_with('-'); });
  if (!known.empty() && word != left.end())
    return "there is no subcommand \"" + *word + "\" of " + name + qrd::client::did_you_mean(*word, known) +
           " (see " + name + " --help)";
  return std::string(problem.what()) + " (see " + name + " --help)";
}

}  // namespace

int main(int argc, char** argv) {
  using namespace qrd::command;
  CLI::App program("Reads, writes and fills a geostatistical database through QRDserver.", "qrd");
  common_options common;
  program.fallthrough();
  program.require_subcommand(1);
  program.add_option("--server", common.server, "Server to talk to (default: one is started for --root)")
      ->type_name("HOST[:PORT]")
      ->envname("QRD_SERVER");
  program.add_option("--root", common.root, "Root directory of the database, as its server sees it")
      ->type_name("DIR")
      ->envname("QRD_ROOT");
  program.set_version_flag("--version", "qrd " QRD_VERSION);
  program.footer(
      "Exit status: 0 done; 1 refused, or wrong data; 2 wrong usage; 3 no connection to a server, or it "
      "broke.");
  program.add_option("--timeout", common.timeout, "Seconds to wait for an answer, 0 for ever (default: 600)")
      ->check(CLI::Range(0, 1000000));
  program.add_flag("--json", common.json, "Print JSON");
  program.add_flag("--quiet", common.quiet, "Show no progress");

  add_list_commands(program, common);
  add_read_commands(program, common);
  add_stat_command(program, common);
  add_write_command(program, common);
  add_create_commands(program, common);
  add_remove_command(program, common);
  add_import_commands(program, common);
  add_object_commands(program, common);
  add_resource_commands(program, common);
  add_units_command(program, common);

  try {
    program.parse(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
      return complain("cannot write the output", failed);
    return 0;
  } catch (const CLI::ParseError& problem) {
    if (problem.get_exit_code() == 0) return program.exit(problem);
    return complain(usage_text(program, problem), wrong_usage);
  } catch (const qrd::client::interrupted& problem) {
    complain(problem.what(), failed);
    // The shell shall know what ended the program.
    signal(problem.number(), SIG_DFL);
    raise(problem.number());
    return failed;
  } catch (const qrd::client::protocol_error& problem) {
    return complain(problem.what(), no_connection);
  } catch (const std::bad_alloc&) {
    return complain("out of memory", failed);
  } catch (const std::exception& problem) {
    return complain(problem.what(), failed);
  }
}
