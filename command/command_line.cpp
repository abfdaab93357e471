#include "command/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "qrd/names.h"

namespace qrd::command {

namespace {

// What is wrong with the words; of a wrong subcommand what it could have been.
std::string usage_text(const CLI::App& program, const CLI::ParseError& problem) {
  const CLI::App* parent = &program;
  while (!parent->get_subcommands().empty()) parent = parent->get_subcommands().front();
  const std::vector<std::string> left = program.remaining(true);
  std::vector<std::string> known;
  for (const CLI::App* one : parent->get_subcommands([](const CLI::App*) { return true; }))
    known.push_back(one->get_name());
  std::string name = parent->get_name();
  for (const CLI::App* above = parent->get_parent(); above != nullptr; above = above->get_parent())
    name = above->get_name() + " " + name;
  const auto word =
      std::find_if(left.begin(), left.end(), [](const auto& one) { return !one.starts_with('-'); });
  if (!known.empty() && word != left.end())
    return "there is no subcommand \"" + *word + "\" of " + name + client::did_you_mean(*word, known) +
           " (see " + name + " --help)";
  return std::string(problem.what()) + " (see " + name + " --help)";
}

// The library tells a type with what is checked of it: "TEXT:{half,zero}", "INT:INT in [0 - 9]".
void describe_type(const std::string& told, described_option& option) {
  const std::size_t choice = told.find(":{");
  option.type = told.substr(0, std::min(choice, told.find(":INT in [")));
  if (choice == std::string::npos || told.back() != '}') return;
  std::istringstream words(told.substr(choice + 2, told.size() - choice - 3));
  for (std::string word; std::getline(words, word, ',');) option.words.push_back(word);
}

described_option describe(const CLI::Option& of) {
  described_option result;
  for (const std::string& name : of.get_snames()) result.names.push_back("-" + name);
  for (const std::string& name : of.get_lnames()) result.names.push_back("--" + name);
  if (result.names.empty()) result.names.push_back(of.get_name(true));
  result.text = of.get_description();
  result.variable = of.get_envname();
  result.is_required = of.get_required();
  result.most_values = of.get_allow_extra_args() ? of.get_items_expected_max() : of.get_items_expected_min();
  if (of.get_type_size() == 0) result.most_values = 0;
  if (result.most_values > 0) describe_type(of.get_type_name(), result);
  return result;
}

described_command describe(const CLI::App& of) {
  described_command result{of.get_name(), of.get_description(), {}, {}, {}};
  for (const CLI::Option* each : of.get_options())
    (each->nonpositional() ? result.options : result.arguments).push_back(describe(*each));
  for (const CLI::App* each : of.get_subcommands([](const CLI::App*) { return true; }))
    result.subcommands.push_back(describe(*each));
  return result;
}

}  // namespace

option option::required() const {
  of_.required();
  return *this;
}

option option::type_name(const char* name) const {
  of_.type_name(name);
  return *this;
}

option option::expected(int count) const {
  of_.expected(count);
  return *this;
}

option option::expected(int least, int most) const {
  of_.expected(least, most);
  return *this;
}

option option::needs(const option& other) const {
  of_.needs(&other.of_);
  return *this;
}

option option::excludes(const option& other) const {
  of_.excludes(&other.of_);
  return *this;
}

option option::envname(const char* name) const {
  of_.envname(name);
  return *this;
}

option option::one_at_a_time() const {
  of_.allow_extra_args(false);
  return *this;
}

option option::separated_by(char separator) const {
  of_.delimiter(separator);
  return one_at_a_time();
}

option option::range(int least, int most) const {
  of_.check(CLI::Range(least, most));
  return *this;
}

option option::one_of(const std::vector<std::string>& words) const {
  of_.check(CLI::IsMember(words));
  return *this;
}

option option::shows_default() const {
  of_.capture_default_str();
  return *this;
}

option option::check(const std::function<std::string(const std::string&)>& problem_of) const {
  of_.check(CLI::Validator(problem_of, ""));
  return *this;
}

command_line command_line::add_subcommand(const std::string& name, const std::string& text) const {
  return command_line(*of_.add_subcommand(name, text));
}

void command_line::require_subcommand() const {
  of_.require_subcommand(1);
}

void command_line::takes_anything() const {
  of_.allow_extras();
  of_.fallthrough(false);
}

void command_line::callback(const std::function<void()>& act) const {
  of_.callback(act);
}

option command_line::add_option(const std::string& names, std::string& value, const std::string& text) const {
  return option(*of_.add_option(names, value, text));
}

option command_line::add_option(const std::string& names, std::int32_t& value,
                                const std::string& text) const {
  return option(*of_.add_option(names, value, text));
}

option command_line::add_option(const std::string& names, std::int64_t& value,
                                const std::string& text) const {
  return option(*of_.add_option(names, value, text));
}

option command_line::add_option(const std::string& names, double& value, const std::string& text) const {
  return option(*of_.add_option(names, value, text));
}

option command_line::add_option(const std::string& names, std::optional<std::int64_t>& value,
                                const std::string& text) const {
  return option(*of_.add_option(names, value, text));
}

option command_line::add_option(const std::string& names, std::vector<std::string>& values,
                                const std::string& text) const {
  return option(*of_.add_option(names, values, text));
}

option command_line::add_option(const std::string& names, std::vector<std::int32_t>& values,
                                const std::string& text) const {
  return option(*of_.add_option(names, values, text));
}

option command_line::add_option(const std::string& names, std::vector<double>& values,
                                const std::string& text) const {
  return option(*of_.add_option(names, values, text));
}

option command_line::add_word_option(const std::string& names,
                                     const std::function<void(const std::string&)>& take,
                                     const std::string& text) const {
  return option(*of_.add_option_function(names, take, text));
}

option command_line::add_flag(const std::string& names, bool& value, const std::string& text) const {
  return option(*of_.add_flag(names, value, text));
}

option command_line::add_flag_callback(const std::string& names, const std::function<void()>& act,
                                       const std::string& text) const {
  return option(*of_.add_flag_callback(names, act, text));
}

std::string run_command_line(const program_texts& texts, const std::function<void(const command_line&)>& add,
                             const std::vector<hidden_command>& hidden, int count, const char* const* words) {
  CLI::App program(texts.description, texts.name);
  program.fallthrough();
  program.set_version_flag("--version", texts.version);
  program.footer(texts.footer);
  add(command_line(program));
  for (const hidden_command& command : hidden)
    if (count > 1 && words[1] == command.name) {
      command.act(describe(program), {words + 2, words + count});
      return {};
    }
  try {
    program.parse(count, words);
  } catch (const CLI::ParseError& problem) {
    if (problem.get_exit_code() != 0) return usage_text(program, problem);
    program.exit(problem);
  }
  return {};
}

}  // namespace qrd::command
