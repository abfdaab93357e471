// Lists a database: list ROOT
#include <cstdio>
#include <exception>

#include "qrd/table.h"

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("list ROOT\n", stderr), 2;
  try {
    qrd::client::database database({.root = argv[1]});
    for (const std::string& study : database.at_root().studies())
      for (const std::string& directory : database.at(study).directories())
        for (const std::string& file : database.at(study, directory).files()) {
          qrd::client::table table(database, {study, directory, file});
          std::printf("%s/%s/%s: %lld samples, %zu variables\n", study.c_str(), directory.c_str(),
                      file.c_str(), static_cast<long long>(table.samples()), table.names().size());
        }
  } catch (const std::exception& problem) {
    return std::fprintf(stderr, "%s\n", problem.what()), 1;
  }
  return 0;
}
