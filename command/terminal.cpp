#include "command/terminal.h"

#include <libsmartcols/libsmartcols.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "qrd/error.h"
#include "qrd/numbers.h"

namespace qrd::command {

namespace {

// The process of the pager, while there is one.
volatile pid_t pager_process = 0;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

std::string pager_command() {
  for (const char* name : {"QRD_PAGER", "PAGER"})
    if (std::getenv(name) != nullptr) return environment(name);
  return "less";
}

// A pager must not lose its terminal to the shell while it shows what is there: it is waited for.
void wait_for_pager() {
  while (waitpid(pager_process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void end_with_pager(int number) {
  close(STDOUT_FILENO);
  wait_for_pager();
  signal(number, SIG_DFL);
  raise(number);
}

void run_pager(const std::string& command, int input) {
  dup2(input, STDIN_FILENO);
  // What the user has set goes before.
  setenv("LESS", "FRX", 0);
  setenv("LV", "-c", 0);
  execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
  _exit(127);
}

bool is_program(const std::string& name) {
  const std::string path = environment("PATH");
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find(':', begin), path.size());
    if (access((path.substr(begin, end - begin) + "/" + name).c_str(), X_OK) == 0) return true;
    begin = end + 1;
  }
  return false;
}

}  // namespace

bool is_watched() {
  static const bool is_terminal = isatty(STDOUT_FILENO) != 0;
  return is_terminal;
}

bool has_colours() {
  return is_watched() && environment("NO_COLOR").empty() && environment("TERM") != "dumb";
}

std::string swatch(const client::rgb& colour) {
  if (!has_colours()) return {};
  std::string text = "\033[48;2";
  for (const std::int32_t part : colour) text += ";" + std::to_string(std::clamp(part, 0, 255));
  return text + "m  \033[0m";
}

pager::pager(bool wanted) {
  // What is asked once stays known when the output is a pipe.
  if (!is_watched() || !wanted) return;
  const std::string command = pager_command();
  if (command.empty() || command == "cat" || (command == "less" && !is_program(command))) return;
  int ends[2];
  if (pipe(ends) != 0) return;
  std::fflush(stdout);
  pager_process = fork();
  if (pager_process == 0) {
    close(ends[1]);
    run_pager(command, ends[0]);
  }
  close(ends[0]);
  if (pager_process > 0) {
    runs_ = true;
    dup2(ends[1], STDOUT_FILENO);
    struct sigaction action {};
    action.sa_handler = end_with_pager;
    sigemptyset(&action.sa_mask);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaction(number, &action, nullptr);
  }
  close(ends[1]);
}

pager::~pager() {
  if (!runs_) return;
  std::fflush(stdout);
  // Errors that follow are shown when the pager has gone.
  close(STDOUT_FILENO);
  wait_for_pager();
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) signal(number, SIG_DFL);
}

void aligned_table::print(bool with_headings) {
  const std::unique_ptr<libscols_table, void (*)(libscols_table*)> table(scols_new_table(),
                                                                         scols_unref_table);
  const auto check = [](bool is_good) {
    if (!is_good) throw std::bad_alloc();
  };
  check(table != nullptr);
  scols_table_enable_noheadings(table.get(), with_headings ? 0 : 1);
  scols_table_enable_colors(table.get(), has_colours() ? 1 : 0);
  scols_table_enable_nowrap(table.get(), 1);
  scols_table_set_column_separator(table.get(), "  ");
  for (const heading& one : headings_) {
    libscols_column* column =
        scols_table_new_column(table.get(), one.text.c_str(), 0, one.is_number ? SCOLS_FL_RIGHT : 0);
    check(column != nullptr);
    scols_cell_set_color(scols_column_get_header(column), "\033[1m");
  }
  for (const std::vector<std::string>& row : rows_) {
    libscols_line* line = scols_table_new_line(table.get(), nullptr);
    check(line != nullptr);
    for (std::size_t i = 0; i < row.size(); ++i) check(scols_line_set_data(line, i, row[i].c_str()) == 0);
  }
  char* text = nullptr;
  check(rows_.empty() || scols_print_table_to_string(table.get(), &text) == 0);
  if (text != nullptr) {
    std::fputs(text, stdout);
    if (*text != '\0' && text[std::strlen(text) - 1] != '\n') std::fputc('\n', stdout);
  }
  std::free(text);
  rows_.clear();
}

std::vector<std::string> shown_numbers(const std::vector<double>& numbers) {
  constexpr int shown_digits = 7;
  double greatest = 0;
  bool is_whole = true;
  for (const double one : numbers) {
    if (!std::isfinite(one)) continue;
    greatest = std::max(greatest, std::abs(one));
    is_whole = is_whole && one == std::floor(one);
  }
  const bool is_extreme = greatest != 0 && (greatest < 1e-4 || greatest >= 1e15);
  const int before = greatest >= 1 ? static_cast<int>(std::floor(std::log10(greatest))) + 1 : 1;
  int decimals = is_whole ? 0 : std::max(0, shown_digits - before);
  std::vector<std::string> texts;
  char text[64];
  // Noughts that stand behind all numbers tell nothing.
  std::size_t spare = static_cast<std::size_t>(decimals);
  for (const double one : numbers) {
    texts.emplace_back();
    if (std::isnan(one)) continue;
    std::snprintf(text, sizeof text, is_extreme || std::isinf(one) ? "%.*g" : "%.*f",
                  is_extreme ? shown_digits : decimals, one);
    texts.back() = text;
    const std::size_t last = texts.back().find_last_not_of('0');
    spare = std::min(spare, texts.back().size() - 1 - last);
  }
  if (is_extreme || decimals == 0 || spare == 0) return texts;
  const bool drops_point = spare == static_cast<std::size_t>(decimals);
  for (std::string& one : texts)
    if (!one.empty()) one.resize(one.size() - spare - (drops_point ? 1 : 0));
  return texts;
}

}  // namespace qrd::command
