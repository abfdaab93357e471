#include "command/complete.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "command/session.h"

namespace qrd::command {

namespace {

// Nobody waits longer for the end of a word.
constexpr itimerval patience = {{0, 0}, {0, 400000}};

void give_up(int /*signal*/) {
  _exit(0);
}

// The words as far as they are written.
struct situation {
  std::vector<const described_command*> commands;  // the program, its subcommand, and so on
  std::size_t arguments = 0;                       // those that are given
  const described_option* open = nullptr;          // an option that takes the next word
  std::map<std::string, std::string> values;       // by type, and of options by name
};

const described_option* option_named(const situation& so_far, const std::string& name) {
  for (const described_command* command : so_far.commands)
    for (const described_option& option : command->options)
      if (std::ranges::find(option.names, name) != option.names.end()) return &option;
  return nullptr;
}

// The argument that comes next, if there is one: the last one may take many words.
const described_option* next_argument(const situation& so_far) {
  const auto& arguments = so_far.commands.back()->arguments;
  if (so_far.arguments < arguments.size()) return &arguments[so_far.arguments];
  return !arguments.empty() && arguments.back().most_values > 1 ? &arguments.back() : nullptr;
}

situation read_words(const described_command& program, const std::vector<std::string>& words) {
  situation result;
  result.commands.push_back(&program);
  int values_left = 0;
  for (const std::string& word : words) {
    if (word.starts_with("-") && word.size() > 1) {
      const std::size_t equal = word.find('=');
      const described_option* option = option_named(result, word.substr(0, equal));
      if (option != nullptr && equal != std::string::npos)
        result.values[option->names.back()] = word.substr(equal + 1);
      result.open = equal == std::string::npos ? option : nullptr;
      values_left = result.open != nullptr ? option->most_values : 0;
    } else if (values_left > 0) {
      result.values[result.open->names.back()] = word;
      --values_left;
    } else {
      const auto& below = result.commands.back()->subcommands;
      const auto command = std::ranges::find(below, word, &described_command::name);
      if (command != below.end()) {
        result.commands.push_back(&*command);
        continue;
      }
      if (const described_option* argument = next_argument(result))
        result.values.emplace(argument->type, word);
      ++result.arguments;
    }
    if (values_left == 0) result.open = nullptr;
  }
  return result;
}

std::string value_of(const situation& so_far, const std::string& key) {
  const auto place = so_far.values.find(key);
  return place == so_far.values.end() ? "" : place->second;
}

// As the option is given, or else as the environment has it.
std::string setting_of(const situation& so_far, const char* name) {
  const std::string given = value_of(so_far, name);
  const described_option* option = option_named(so_far, name);
  if (!given.empty() || option == nullptr || option->variable.empty()) return given;
  const char* value = std::getenv(option->variable.c_str());
  return value != nullptr ? value : "";
}

std::vector<std::string> variables(client::connection& server, const std::string& prefix) {
  constexpr std::string_view generic = "[xxxxx]";
  std::vector<std::string> names;
  for (const std::string& name : server.variables()) {
    if (!name.ends_with(generic)) {
      names.push_back(name);
      continue;
    }
    // All columns of all macros would be too many to look for, and to choose from.
    const std::string stem = name.substr(0, name.size() - generic.size());
    names.push_back(stem);
    if (!prefix.starts_with(stem)) continue;
    server.set_variable(name);
    for (const std::int32_t index : server.macro_index_numbers())
      names.push_back(stem + "[" + std::to_string(index) + "]");
  }
  return names;
}

// Names in the database that are of the type.
std::vector<std::string> names(const situation& so_far, const std::string& type, const std::string& prefix) {
  common_options common;
  common.root = setting_of(so_far, "--root");
  common.server = setting_of(so_far, "--server");
  // No shell may ask for a password, or run a command, to end a word.
  if (common.server.starts_with("ssh:") || !setting_of(so_far, "--via").empty()) return {};
  session server(common, root_use::existing);
  if (type == "STUDY") return server->studies();
  server->set_study(value_of(so_far, "STUDY"));
  if (type == "DIRECTORY") return server->directories();
  if (type == "PALETTE") return server->palettes();
  if (type == "SCALE") return server->scales();
  server->set_directory(value_of(so_far, "DIRECTORY"));
  if (type == "LINES" || type == "POINTS" || type == "FILE") return server->files();
  const std::string file = value_of(so_far, "FILE");
  server->set_file(file.empty() ? value_of(so_far, "POINTS") : file);
  return variables(*server, prefix);
}

bool is_in_database(const std::string& type) {
  for (const char* one : {"STUDY", "DIRECTORY", "FILE", "LINES", "POINTS", "VARIABLE", "PALETTE", "SCALE"})
    if (type == one) return true;
  return false;
}

// A folder, or a file such as FILE.csv.
bool is_path(const std::string& type) {
  return type == "DIR" || type.starts_with("FILE.");
}

std::optional<std::vector<std::string>> candidates(const situation& so_far, const std::string& prefix) {
  std::vector<std::string> result;
  if (so_far.open == nullptr && prefix.starts_with("-")) {
    for (const described_command* command : so_far.commands)
      for (const described_option& option : command->options) result.push_back(option.names.back());
    return result;
  }
  if (so_far.open == nullptr && !so_far.commands.back()->subcommands.empty()) {
    for (const described_command& command : so_far.commands.back()->subcommands)
      result.push_back(command.name);
    return result;
  }
  const described_option* wanted = so_far.open != nullptr ? so_far.open : next_argument(so_far);
  if (wanted == nullptr) return result;
  if (is_path(wanted->type)) return std::nullopt;
  return is_in_database(wanted->type) ? names(so_far, wanted->type, prefix) : wanted->words;
}

}  // namespace

bool complete(const described_command& program, const std::vector<std::string>& words) {
  if (words.empty()) return true;
  std::signal(SIGALRM, give_up);
  setitimer(ITIMER_REAL, &patience, nullptr);
  // A server that is started for this doesn't wait for a client that has given up.
  setenv("QRD_CONNECT_TIMEOUT", "5", 0);
  std::string prefix = words.back();
  try {
    situation so_far = read_words(program, {words.begin(), words.end() - 1});
    // Of "--option=value" shells complete the value.
    const std::size_t equal = prefix.starts_with("--") ? prefix.find('=') : std::string::npos;
    if (equal != std::string::npos) {
      so_far.open = option_named(so_far, prefix.substr(0, equal));
      prefix.erase(0, equal + 1);
    }
    const auto offered = candidates(so_far, prefix);
    if (!offered) return false;
    for (const std::string& one : *offered)
      if (one.starts_with(prefix)) std::printf("%s\n", one.c_str());
  } catch (const std::exception&) {
    // A name that isn't there yet, a server that isn't: there is nothing to offer.
  }
  return true;
}

}  // namespace qrd::command
