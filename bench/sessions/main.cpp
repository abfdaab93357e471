// Figures of a multi-session server, and a load test that checks every byte.
#include <filesystem>
#include <string>

#include "bench/program.h"
#include "bench/sessions/sections.h"

int main(int count, char** arguments) {
  using namespace qrd::bench;
  using qrd::command::command_line;
  std::string folder = std::filesystem::temp_directory_path().string();
  bool has_one_port = false;
  const auto ports = [&] { return has_one_port ? port_use::one : port_use::many; };
  int status = 0;

  int starts = 200;
  int children = 200;
  double idle_seconds = 10;
  std::string json_path;
  const auto add_figures = [&](const command_line& figures) {
    figures.add_option("--starts", starts, "sessions that are timed").shows_default();
    figures.add_option("--children", children, "idle children").shows_default();
    figures.add_option("--seconds", idle_seconds, "time that they idle").shows_default();
    figures.add_option("--json", json_path, "a file for the same rows as JSON");
    figures.callback([&] {
      report table("qrd_sessions", "bare",
                   {{"starts", starts}, {"children", children}, {"seconds", idle_seconds}});
      measure_sessions(table, folder, ports(), starts, children, idle_seconds);
      table.finish(json_path);
    });
  };
  int others = 50;
  const auto add_flood = [&](const command_line& flood) {
    flood.add_option("--clients", others, "the others").shows_default();
    flood.callback([&] { measure_flood(folder, others); });
  };
  load_settings settings;
  const auto add_load = [&](const command_line& load) {
    load.add_option("--clients", settings.clients, "all at once").shows_default();
    load.add_option("--rounds", settings.rounds, "files that each client makes").shows_default();
    load.add_option("--samples", settings.samples, "samples of a file").shows_default();
    load.callback([&] {
      settings.ports = ports();
      if (run_load(folder, settings) > 0) status = 1;
    });
  };
  const auto add = [&](const command_line& program) {
    program.require_subcommand();
    program.add_option("--folder", folder, "where the database is made").shows_default();
    program.add_flag("--oneport", has_one_port, "all sessions on the one port of the server (-oneport)");
    add_figures(program.add_subcommand("figures", "time to get a session; memory and time of idle children"));
    add_flood(program.add_subcommand("flood", "what a client that never rests costs the others"));
    add_load(
        program.add_subcommand("load", "many clients at once in one directory; 1 when a fault is found"));
  };
  const bool done =
      run_program("qrd_sessions",
                  "Measures the sessions of a multi-session server, or tries it with many clients at once.",
                  add, count, arguments);
  return done ? status : 2;
}
