// qrd: a QRDserver's database from the command line.
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "command/complete.h"
#include "command/interruption.h"
#include "command/manual.h"
#include "command/names.h"
#include "command/options.h"
#include "qrd/version.h"

namespace {

constexpr int failed = 1;
constexpr int bad_usage = 2;
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

void add_common_options(const qrd::command::command_line& program, qrd::command::common_options& common) {
  program.add_option("--server", common.server, "Server to talk to (default: one is started for --root)")
      .type_name("HOST[:PORT] | ssh://[USER@]HOST[:PORT][/PATH/OF/QRDserver] | unix:/PATH")
      .envname("QRD_SERVER");
  program
      .add_option("--via", common.via,
                  "Command whose standard input and output are the server, instead of --server")
      .type_name("COMMAND");
  program.add_option("--root", common.root, "Root directory of the database, as its server sees it")
      .type_name("DIR")
      .envname("QRD_ROOT");
  program.add_option("--timeout", common.timeout, "Seconds to wait for an answer, 0 for ever (default: 600)")
      .range(0, 1000000);
  program.add_flag("--json", common.json, "Print JSON");
  program.add_flag("--quiet", common.quiet, "Show no progress");
  program.add_flag_callback(
      "--no-pager", [&common] { common.paged = false; }, "Print on a terminal without a pager");
}

}  // namespace

int main(int argc, char** argv) {
  using namespace qrd::command;
  const program_texts texts = {
      "qrd",
      "Reads, writes and fills a geostatistical database through QRDserver.",
      std::string("qrd ") + qrd::client::library_version(),
      "Exit status: 0 done; 1 refused, or wrong data; 2 wrong usage; 3 no connection to a server, or it "
      "broke.",
  };
  bool is_completed = true;
  const std::vector<hidden_command> hidden = {
      {"complete", [&](const auto& program, const auto& words) { is_completed = complete(program, words); }},
      {"manual", [](const auto& program, const auto&) { print_manual(program); }}};
  common_options common;
  try {
    const std::string problem = run_command_line(
        texts,
        [&common](const command_line& program) {
          program.require_subcommand();
          add_common_options(program, common);
          add_list_commands(program, common);
          add_read_commands(program, common);
          add_stat_command(program, common);
          add_write_command(program, common);
          add_change_commands(program, common);
          add_create_commands(program, common);
          add_remove_command(program, common);
          add_import_commands(program, common);
          add_object_commands(program, common);
          add_resource_commands(program, common);
          add_units_command(program, common);
          add_view_command(program, common);
          add_plot_command(program, common);
        },
        hidden, argc, argv);
    if (!problem.empty()) return complain(problem, bad_usage);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
      return complain("cannot write the output", failed);
    return is_completed ? 0 : failed;
  } catch (const qrd::command::interrupted& problem) {
    complain(problem.what(), failed);
    // The shell shall know what ended the program.
    signal(problem.number(), SIG_DFL);
    raise(problem.number());
    return failed;
  } catch (const qrd::client::protocol_error& problem) {
    return complain(problem.what(), no_connection);
  } catch (const qrd::command::wrong_usage& problem) {
    return complain(problem.what(), bad_usage);
  } catch (const std::bad_alloc&) {
    return complain("out of memory", failed);
  } catch (const std::exception& problem) {
    return complain(problem.what(), failed);
  }
}
