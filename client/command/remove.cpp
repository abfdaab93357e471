// qrd rm: deletes.
#include <memory>

#include "client/command/options.h"
#include "client/command/session.h"

namespace qrd::command {

namespace {

struct remove_options {
  std::string study;
  std::string directory;
  std::string file;
  std::string variable;
  bool recursive = false;
};

void remove(const common_options& common, const remove_options& options) {
  if (options.file.empty() && !options.recursive)
    throw client::error(options.directory.empty()
                            ? "a study goes with all its directories: ask for that with --recursive"
                            : "a directory goes with all its files: ask for that with --recursive");
  with_session(common, [&](session& server) {
    server->set_study(options.study);
    if (options.directory.empty()) {
      server->delete_study();
      return;
    }
    server->set_directory(options.directory);
    if (options.file.empty()) {
      server->delete_directory();
      return;
    }
    server->set_file(options.file);
    if (options.variable.empty()) {
      server->delete_file();
      return;
    }
    server->set_variable(options.variable);
    server->delete_variable();
  });
}

}  // namespace

void add_remove_command(CLI::App& program, const common_options& common) {
  CLI::App* command = program.add_subcommand("rm", "Delete a study, a directory, a file or a variable");
  auto options = std::make_shared<remove_options>();
  command->add_option("study", options->study, "Name of the study")->required()->type_name("STUDY");
  auto* directory = command->add_option("directory", options->directory, "Name of the directory");
  directory->type_name("DIRECTORY");
  auto* file =
      command->add_option("file", options->file, "Name of the file")->type_name("FILE")->needs(directory);
  command->add_option("variable", options->variable, "Name of the variable")
      ->type_name("VARIABLE")
      ->needs(file);
  command->add_flag("-r,--recursive", options->recursive, "Delete a study or a directory with all it holds");
  command->callback([options, &common] { remove(common, *options); });
}

}  // namespace qrd::command
