// qrd: a QRDserver's database from the command line.
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "client/command/options.h"

namespace {

constexpr int failed = 1;
constexpr int wrong_usage = 2;

// What went wrong, as one line.
int complain(std::string text, int status) {
  for (char& character : text)
    if (character == '\n' || character == '\r') character = ' ';
  while (!text.empty() && text.back() == ' ') text.pop_back();
  std::fprintf(stderr, "qrd: %s\n", text.c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace qrd::command;
  CLI::App program("Reads, writes and fills a geostatistical database through QRDserver.", "qrd");
  common_options common;
  program.fallthrough();
  program.require_subcommand(1);
  program.add_option("--server", common.server, "Server to talk to (default: one is started for --root)")
      ->type_name("HOST[:PORT]");
  program.add_option("--root", common.root, "Root directory of the database")->type_name("DIR");
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
    return complain(std::string(problem.what()) + " (see qrd --help)", wrong_usage);
  } catch (const std::bad_alloc&) {
    return complain("out of memory", failed);
  } catch (const std::exception& problem) {
    return complain(problem.what(), failed);
  }
}
