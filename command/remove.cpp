// qrd rm: deletes.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>

#include "command/names.h"
#include "command/options.h"
#include "command/roles.h"
#include "command/session.h"
#include "command/sizes.h"

namespace qrd::command {

namespace {

constexpr const char* removal_names = "STUDY [DIRECTORY [FILE [VARIABLE]]]";

struct remove_options {
  std::vector<std::string> words;
  bool recursive = false;
  bool force = false;
  bool yes = false;
};

void confirm(client::database& all, const object_path& path) {
  const object_size lost = size_of(all, path);
  std::fprintf(stderr, "This deletes the %s %s: ", level_name(path.size() - 1), path_text(path).c_str());
  if (path.size() < 3) std::fprintf(stderr, "%lld files, ", static_cast<long long>(lost.files));
  std::fprintf(stderr, "%lld variables, %lld samples, %.0f bytes of values. Go on? [y/N] ",
               static_cast<long long>(lost.variables), static_cast<long long>(lost.samples), lost.bytes);
  std::fflush(stderr);
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") throw client::error("nothing was deleted");
}

void check_role(client::database& all, const object_path& path) {
  if (path.size() < 4) return;
  const client::variable_info info = choose(all, path).variable_info();
  if (const auto role = role_of(path[3], info, client::table(all, place_of(path)).info()))
    throw client::error("the variable \"" + path[3] + "\" " + *role + ". --force deletes it all the same");
}

void remove_one(client::database& all, const object_path& path) {
  client::connection& server = choose(all, path);
  all.forget();
  if (path.size() == 1)
    server.delete_study();
  else if (path.size() == 2)
    server.delete_directory();
  else if (path.size() == 3)
    server.delete_file();
  else
    server.delete_variable();
}

void remove(const common_options& common, const remove_options& options) {
  need_names(options.words, 1, removal_names);
  if (!options.yes && isatty(STDIN_FILENO) == 0)
    throw client::error("a deletion asks first: give --yes where nobody can answer");
  with_database(common, [&](client::database& all) {
    std::vector<std::string> words = options.words;
    const object_path named = take_path(all, words, all_levels);
    if (!words.empty()) throw wrong_usage(std::string("the names have to be ") + removal_names);
    if (named.size() < 3 && !options.recursive)
      throw client::error(named.size() < 2
                              ? "a study goes with all its directories: ask for that with --recursive"
                              : "a directory goes with all its files: ask for that with --recursive");
    const std::vector<object_path> victims = expanded(all, named);
    for (const object_path& one : victims) {
      choose(all, one);
      if (!options.force) check_role(all, one);
    }
    // All are agreed to before the first one goes.
    if (!options.yes)
      for (const object_path& one : victims) confirm(all, one);
    for (const object_path& one : victims) remove_one(all, one);
  });
}

}  // namespace

void add_remove_command(const command_line& program, const common_options& common) {
  const command_line command =
      program.add_subcommand("rm", "Delete a study, a directory, a file or a variable");
  auto options = std::make_shared<remove_options>();
  add_names(command, options->words, removal_names,
            "What to delete, also as STUDY/DIRECTORY/FILE/VARIABLE, with * and ?");
  command.add_flag("-r,--recursive", options->recursive, "Delete a study or a directory with all it holds");
  command.add_flag("-f,--force", options->force,
                   "Delete a variable that the file needs, such as coordinates");
  command.add_flag("-y,--yes", options->yes, "Don't ask");
  command.callback([options, &common] { remove(common, *options); });
}

}  // namespace qrd::command
