// One run of a program, with its input and what came out.
#pragma once

#include "support/test.h"

namespace qrd::test {

struct program_run {
  int status = 0;  // minus the signal that ended it
  std::string output;
  std::string errors;
};

inline program_run run_program(const std::string& program, strings arguments, const std::string& input = {}) {
  const temporary_directory scratch;
  write_file(scratch / "in", input);
  arguments.insert(arguments.begin(), program);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const std::string files[] = {scratch / "in", scratch / "out", scratch / "err"};

  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    for (int i = 0; i < 3; ++i) dup2(open(files[i].c_str(), i == 0 ? O_RDONLY : O_WRONLY | O_CREAT, 0600), i);
    execv(program.c_str(), pointers.data());
    _exit(127);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid");
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), read_file(files[1]),
          read_file(files[2])};
}

}  // namespace qrd::test
