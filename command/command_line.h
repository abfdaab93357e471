// The words of the command line: subcommands, their arguments and options. Only command_line.cpp knows the
// library behind it, which takes the compiler longer than all else here.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace qrd::command {

// An argument or option of a subcommand; copies are the same option. Each function returns the option.
class option {
 public:
  explicit option(CLI::Option& of) : of_(of) {}

  option required() const;
  option type_name(const char* name) const;
  option expected(int count) const;
  option expected(int least, int most) const;
  option needs(const option& other) const;
  option excludes(const option& other) const;
  // Taken from the environment when it isn't given.
  option envname(const char* name) const;
  // An option for a list takes one value each time it is given, not all words behind it.
  option one_at_a_time() const;
  // The values of a list stand in one word.
  option separated_by(char separator) const;
  option range(int least, int most) const;
  option one_of(const std::vector<std::string>& words) const;
  // Help tells the value that is there now.
  option shows_default() const;
  // `problem_of` tells what is wrong with a value; nothing for a good one.
  option check(const std::function<std::string(const std::string&)>& problem_of) const;

 private:
  CLI::Option& of_;
};

// The program or a subcommand of it; copies are the same one. What options are read into, and what a callback
// uses, has to outlive the parsing.
class command_line {
 public:
  explicit command_line(CLI::App& of) : of_(of) {}

  command_line add_subcommand(const std::string& name, const std::string& text) const;
  // One subcommand has to be given.
  void require_subcommand() const;
  // Any words behind the name of the subcommand are right.
  void takes_anything() const;
  // Called when the words are found to be right.
  void callback(const std::function<void()>& act) const;

  // A name without dashes is that of an argument. Of lists and optional values each has its own type.
  option add_option(const std::string& names, std::string& value, const std::string& text) const;
  option add_option(const std::string& names, std::int32_t& value, const std::string& text) const;
  option add_option(const std::string& names, std::int64_t& value, const std::string& text) const;
  option add_option(const std::string& names, double& value, const std::string& text) const;
  option add_option(const std::string& names, std::optional<std::int64_t>& value,
                    const std::string& text) const;
  option add_option(const std::string& names, std::vector<std::string>& values,
                    const std::string& text) const;
  option add_option(const std::string& names, std::vector<std::int32_t>& values,
                    const std::string& text) const;
  option add_option(const std::string& names, std::vector<double>& values, const std::string& text) const;
  // `take` gets the word that is given.
  option add_word_option(const std::string& names, const std::function<void(const std::string&)>& take,
                         const std::string& text) const;
  option add_flag(const std::string& names, bool& value, const std::string& text) const;
  option add_flag_callback(const std::string& names, const std::function<void()>& act,
                           const std::string& text) const;

 private:
  CLI::App& of_;
};

// What a program understands, for its manual and for completion.
struct described_option {
  std::vector<std::string>
      names;         // with their dashes, the long ones last; an argument has its bare name alone
  std::string type;  // of its value, empty for a flag
  std::vector<std::string> words;  // all that the value may be, if these are few
  std::string text;
  std::string variable;  // of the environment, that stands for it
  bool is_required = false;
  int most_values = 1;  // 0 for a flag
};
struct described_command {
  std::string name;
  std::string text;
  std::vector<described_option> arguments;
  std::vector<described_option> options;
  std::vector<described_command> subcommands;
};

// A subcommand that help doesn't show, for the program's own files: it gets the words behind its name as they
// are.
struct hidden_command {
  std::string name;
  std::function<void(const described_command& program, const std::vector<std::string>& words)> act;
};

// What help and version of a program tell; the footer stands below the help.
struct program_texts {
  std::string name;
  std::string description;
  std::string version;
  std::string footer;
};

// Lets `add` tell the options and subcommands of the program, parses the words and does what they ask for;
// what a callback throws comes out. Returns what is wrong with the words; nothing when they were right.
std::string run_command_line(const program_texts& texts, const std::function<void(const command_line&)>& add,
                             const std::vector<hidden_command>& hidden, int count, const char* const* words);

}  // namespace qrd::command
