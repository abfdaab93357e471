#include "command/complete.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "command/names.h"
#include "qrd/table.h"

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
  std::map<std::string, std::string> values;       // of options by name
  std::vector<std::string> given;                  // the words for arguments
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
      if (next_argument(result) != nullptr) result.given.push_back(word);
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
  std::string given = value_of(so_far, name);
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

// Lines without a name go by their number.
std::vector<std::string> line_names(client::table of) {
  std::vector<std::string> names;
  for (const client::line& each : of.lines())
    names.push_back(each.name.empty() ? std::to_string(each.number) : each.name);
  return names;
}

// The kinds of names in a type such as "STUDY DIRECTORY FILE [VARIABLE...]".
std::vector<std::string> kinds_of(const std::string& type) {
  std::vector<std::string> kinds(1);
  for (const char character : type)
    if (character == ' ')
      kinds.emplace_back();
    else if (std::isalpha(static_cast<unsigned char>(character)) != 0)
      kinds.back() += character;
  return kinds;
}

bool is_in_database(const std::string& kind) {
  for (const char* one : {"STUDY", "DIRECTORY", "FILE", "VARIABLE", "LINE", "POINTS", "PALETTE", "SCALE"})
    if (kind == one) return true;
  return false;
}

client::database_options database_of(const situation& so_far) {
  client::database_options options;
  options.root = setting_of(so_far, "--root");
  options.server = setting_of(so_far, "--server");
  return options;
}

// Names that the database has for the next word of an argument or for the value of an option; nothing where a
// table is named, for which the shell knows the files.
std::optional<std::vector<std::string>> names(const situation& so_far, const std::string& type,
                                              const std::string& prefix) {
  std::vector<std::string> kinds = kinds_of(type);
  std::vector<std::string> words = so_far.given;
  // Patterns and the like stand in front.
  while (!kinds.empty() && !is_in_database(kinds[0])) {
    if (words.empty() || kinds.size() == 1) return std::vector<std::string>();
    kinds.erase(kinds.begin());
    words.erase(words.begin());
  }
  // No shell may ask for a password, or run a command, to end a word.
  const bool asks =
      setting_of(so_far, "--server").starts_with("ssh:") || !setting_of(so_far, "--via").empty();
  if (asks) return std::vector<std::string>();
  client::database all(database_of(so_far));
  if (kinds[0] == "LINE")
    return line_names(client::table(all, place_of(take_path(all, words, all_levels - 1))));
  const std::string above = prefix.substr(0, prefix.rfind('/') + 1);
  if (!above.empty()) words.push_back(above);
  if (kinds.size() == 2 && (kinds[1] == "PALETTE" || kinds[1] == "SCALE") && !words.empty()) {
    client::connection& server = all.at(words[0]);
    return kinds[1] == "SCALE" ? server.scales() : server.palettes();
  }
  // Behind the file there are variables, as many as one likes, or a second file.
  object_path path = take_path(all, words, all_levels - 1);
  if (path.size() == kinds.size() - 1 && kinds.back() == "POINTS") path.pop_back();
  if (kinds.size() == 1 && kinds[0] == "VARIABLE" && !words.empty() && so_far.commands.back()->name == "link")
    path.back() = words[0];
  const bool is_option = kinds.size() == 1 && kinds[0] == "VARIABLE";
  if (!is_option && path.size() >= kinds.size()) return std::vector<std::string>();
  if (!is_option && !is_in_database(kinds[path.size()])) return std::nullopt;
  std::vector<std::string> found = path.size() < all_levels - 1
                                       ? names_below(all, path)
                                       : variables(all.at(place_of(path)), prefix.substr(above.size()));
  for (std::string& name : found) name.insert(0, above);
  return found;
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
  const std::vector<std::string> kinds = kinds_of(wanted->type);
  return std::ranges::any_of(kinds, is_in_database) ? names(so_far, wanted->type, prefix) : wanted->words;
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
