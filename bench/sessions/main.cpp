// Figures of a multi-session server, and a load test that checks every byte.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "bench/sessions/sections.h"

int main(int count, char** arguments) {
  using namespace qrd::bench;
  CLI::App program("Measures the sessions of a multi-session server, or tries it with many clients at once.");
  program.require_subcommand(1);
  std::string folder = std::filesystem::temp_directory_path().string();
  program.add_option("--folder", folder, "where the database is made")->capture_default_str();

  int starts = 200;
  int children = 200;
  double idle_seconds = 10;
  CLI::App* figures =
      program.add_subcommand("figures", "time to get a session; memory and time of idle children");
  figures->add_option("--starts", starts, "sessions that are timed")->capture_default_str();
  figures->add_option("--children", children, "idle children")->capture_default_str();
  figures->add_option("--seconds", idle_seconds, "time that they idle")->capture_default_str();
  std::string json_path;
  figures->add_option("--json", json_path, "a file for the same rows as JSON");

  int others = 50;
  CLI::App* flood = program.add_subcommand("flood", "what a client that never rests costs the others");
  flood->add_option("--clients", others, "the others")->capture_default_str();

  load_settings settings;
  bool has_one_port = false;
  program.add_flag("--oneport", has_one_port, "all sessions on the one port of the server (-oneport)");
  CLI::App* load =
      program.add_subcommand("load", "many clients at once in one directory; 1 when a fault is found");
  load->add_option("--clients", settings.clients)->capture_default_str();
  load->add_option("--rounds", settings.rounds, "files that each client makes")->capture_default_str();
  load->add_option("--samples", settings.samples, "samples of a file")->capture_default_str();
  CLI11_PARSE(program, count, arguments);

  settings.ports = has_one_port ? port_use::one : port_use::many;
  try {
    if (figures->parsed()) {
      report table("qrd_sessions", "bare",
                   {{"starts", starts}, {"children", children}, {"seconds", idle_seconds}});
      measure_sessions(table, folder, settings.ports, starts, children, idle_seconds);
      table.finish(json_path);
    }
    if (flood->parsed()) measure_flood(folder, others);
    return load->parsed() && run_load(folder, settings) > 0 ? 1 : 0;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "qrd_sessions: %s\n", problem.what());
    return 2;
  }
}
