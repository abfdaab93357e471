#include "bench/program.h"

#include <cstdio>
#include <exception>
#include <string>

namespace qrd::bench {

bool run_program(const char* name, const char* description,
                 const std::function<void(const command::command_line&)>& add, int count,
                 const char* const* words) {
  std::string problem;
  try {
    problem = command::run_command_line({name, description, QRD_VERSION, ""}, add, {}, count, words);
  } catch (const std::exception& thrown) {
    problem = thrown.what();
  }
  if (!problem.empty()) std::fprintf(stderr, "%s: %s\n", name, problem.c_str());
  return problem.empty();
}

}  // namespace qrd::bench
