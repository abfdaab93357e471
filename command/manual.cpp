#include "command/manual.h"

#include <cstdio>
#include <string>

namespace qrd::command {

namespace {

// A bar would end the cell of a table.
std::string in_cell(const std::string& text) {
  std::string result;
  for (const char character : text) result += character == '|' ? "\\|" : std::string(1, character);
  return result;
}

std::string value_text(const described_option& option) {
  std::string text;
  for (const std::string& word : option.words) text += (text.empty() ? "" : "|") + word;
  if (text.empty()) text = option.type;
  // A list that may go on and on.
  constexpr int many = 100;
  return in_cell(text) + (option.most_values > many ? "..." : "");
}

void print_row(const std::string& head, const described_option& option) {
  std::printf("| %s | %s", head.c_str(), in_cell(option.text).c_str());
  if (!option.variable.empty())
    std::printf(". `%s` of the environment stands for it", option.variable.c_str());
  std::printf(" |\n");
}

void print_options(const described_command& of, bool is_subcommand) {
  if (of.arguments.empty() && of.options.empty()) return;
  std::printf("\n| Word | Meaning |\n|---|---|\n");
  for (const described_option& argument : of.arguments) print_row(value_text(argument), argument);
  for (const described_option& option : of.options) {
    if (is_subcommand && option.names.back() == "--help") continue;
    std::string head;
    for (const std::string& name : option.names) head += (head.empty() ? "`" : ", `") + name + "`";
    print_row(option.most_values > 0 ? head + " " + value_text(option) : head, option);
  }
}

void print_command(const described_command& of, const std::string& above) {
  const std::string name = above + " " + of.name;
  if (!of.subcommands.empty()) {
    for (const described_command& each : of.subcommands) print_command(each, name);
    return;
  }
  std::printf("\n### %s", name.c_str());
  for (const described_option& argument : of.arguments)
    std::printf(argument.is_required ? " %s" : " [%s]", value_text(argument).c_str());
  std::printf("\n\n%s.\n", of.text.c_str());
  print_options(of, true);
}

}  // namespace

void print_manual(const described_command& program) {
  std::printf("## Options\n\nThese go with every command, before it or behind it.\n");
  print_options(program, false);
  std::printf("\n## Commands\n");
  for (const described_command& each : program.subcommands) print_command(each, program.name);
}

}  // namespace qrd::command
