// qrd rm: deletes.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>

#include "command/choose.h"
#include "command/options.h"
#include "command/roles.h"
#include "command/session.h"

namespace qrd::command {

namespace {

struct remove_options {
  std::string study;
  std::string directory;
  std::string file;
  std::string variable;
  bool recursive = false;
  bool force = false;
  bool yes = false;
};

// What a deletion takes with it.
struct losses {
  std::int64_t files = 0;
  std::int64_t variables = 0;
  std::int64_t samples = 0;
  double bytes = 0;  // of values
};

// The values of the current variable; a computed one has none.
void add_variable(client::connection& server, std::int64_t samples, losses& lost) {
  constexpr double bits_of_a_byte = 8;
  const client::variable_info info = server.variable_info();
  if (info.implicit) return;
  ++lost.variables;
  const double bytes = info.characters > 0 ? info.characters : info.bits / bits_of_a_byte;
  lost.bytes += bytes * static_cast<double>(samples) * std::max(1, info.indices);
}

void add_file(client::connection& server, const std::string& name, losses& lost) {
  server.set_file(name);
  const std::int64_t samples = server.file_info().samples;
  ++lost.files;
  lost.samples += samples;
  for (const std::string& variable : server.variables()) {
    server.set_variable(variable);
    add_variable(server, samples, lost);
  }
}

losses losses_of(client::connection& server, const remove_options& options) {
  losses lost;
  if (!options.variable.empty()) {
    lost.samples = server.file_info().samples;
    add_variable(server, lost.samples, lost);
    return lost;
  }
  if (!options.file.empty()) {
    add_file(server, options.file, lost);
    return lost;
  }
  const std::vector<std::string> directories =
      options.directory.empty() ? server.directories() : std::vector<std::string>{options.directory};
  for (const std::string& directory : directories) {
    server.set_directory(directory);
    for (const std::string& file : server.files()) add_file(server, file, lost);
  }
  return lost;
}

// Makes the object current that is to go.
void choose_victim(client::connection& server, const remove_options& options) {
  choose_study(server, options.study);
  if (!options.directory.empty()) choose_directory(server, options.directory);
  if (!options.file.empty()) choose_file(server, options.file);
  if (!options.variable.empty()) choose_variable(server, options.variable);
}

std::string victim_text(const remove_options& options) {
  const char* kind = options.directory.empty()  ? "study "
                     : options.file.empty()     ? "directory "
                     : options.variable.empty() ? "file "
                                                : "variable ";
  std::string text = kind + options.study;
  for (const std::string* part : {&options.directory, &options.file, &options.variable})
    if (!part->empty()) text += "/" + *part;
  return text;
}

void confirm(client::connection& server, const remove_options& options) {
  const losses lost = losses_of(server, options);
  std::fprintf(stderr, "This deletes the %s: ", victim_text(options).c_str());
  if (options.file.empty()) std::fprintf(stderr, "%lld files, ", static_cast<long long>(lost.files));
  std::fprintf(stderr, "%lld variables, %lld samples, %.0f bytes of values. Go on? [y/N] ",
               static_cast<long long>(lost.variables), static_cast<long long>(lost.samples), lost.bytes);
  std::fflush(stderr);
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") throw client::error("nothing was deleted");
}

void check_role(client::connection& server, const remove_options& options) {
  if (options.variable.empty() || options.force) return;
  if (const auto role = role_of(options.variable, server.variable_info(), server.file_info()))
    throw client::error("the variable \"" + options.variable + "\" " + *role +
                        ". --force deletes it all the same");
}

void remove(const common_options& common, const remove_options& options) {
  if (options.file.empty() && !options.recursive)
    throw client::error(options.directory.empty()
                            ? "a study goes with all its directories: ask for that with --recursive"
                            : "a directory goes with all its files: ask for that with --recursive");
  if (!options.yes && isatty(STDIN_FILENO) == 0)
    throw client::error("a deletion asks first: give --yes where nobody can answer");
  with_session(common, [&](session& server) {
    choose_victim(*server, options);
    check_role(*server, options);
    if (!options.yes) {
      confirm(*server, options);
      choose_victim(*server, options);
    }
    if (options.directory.empty())
      server->delete_study();
    else if (options.file.empty())
      server->delete_directory();
    else if (options.variable.empty())
      server->delete_file();
    else
      server->delete_variable();
  });
}

}  // namespace

void add_remove_command(const command_line& program, const common_options& common) {
  const command_line command =
      program.add_subcommand("rm", "Delete a study, a directory, a file or a variable");
  auto options = std::make_shared<remove_options>();
  command.add_option("study", options->study, "Name of the study").required().type_name("STUDY");
  const option directory = command.add_option("directory", options->directory, "Name of the directory");
  directory.type_name("DIRECTORY");
  const option file =
      command.add_option("file", options->file, "Name of the file").type_name("FILE").needs(directory);
  command.add_option("variable", options->variable, "Name of the variable").type_name("VARIABLE").needs(file);
  command.add_flag("-r,--recursive", options->recursive, "Delete a study or a directory with all it holds");
  command.add_flag("-f,--force", options->force,
                   "Delete a variable that the file needs, such as coordinates");
  command.add_flag("-y,--yes", options->yes, "Don't ask");
  command.callback([options, &common] { remove(common, *options); });
}

}  // namespace qrd::command
