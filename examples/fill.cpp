// Makes a database with one study and fills it from arrays: fill ROOT
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "qrd/table.h"

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("fill ROOT\n", stderr), 2;
  namespace client = qrd::client;
  try {
    client::database database({.root = argv[1], .make_root = true});
    database.at_root().new_study("Example", (std::filesystem::absolute(argv[1]) / "Example").string());
    database.at("Example").new_directory("Arrays");

    // A spiral of 1000 points: all X, then all Y, then all Z.
    constexpr std::size_t samples = 1000;
    std::vector<double> coordinates(3 * samples);
    std::vector<double> angle(samples);
    std::vector<std::string> turn(samples);
    for (std::size_t i = 0; i < samples; ++i) {
      angle[i] = static_cast<double>(i) * 0.05;
      coordinates[i] = 100 * std::cos(angle[i]);
      coordinates[samples + i] = 100 * std::sin(angle[i]);
      coordinates[2 * samples + i] = static_cast<double>(i);
      turn[i] = "turn " + std::to_string(static_cast<int>(angle[i] / 6.2831853) + 1);
    }

    // If anything fails, nothing of the file is left.
    const auto fill = [&](client::table& table) {
      table.write(table.make({.name = {"angle", {}}, .bits = 32, .unit = "rad"}), angle);
      table.write(table.make({.name = {"turn", {}}, .characters = 8}), turn);
    };
    client::make_file(database, {"Example", "Arrays", "spiral"}, client::points_geometry{3, coordinates},
                      fill);
  } catch (const std::exception& problem) {
    return std::fprintf(stderr, "%s\n", problem.what()), 1;
  }
  return 0;
}
