#include "bench/peers/peer_process.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "qrd/error.h"

namespace qrd::bench {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr auto pause = 20ms;
constexpr int most_pauses = 1500;  // half a minute

// In the new process: nothing but system calls.
[[noreturn]] void become(char* const* arguments, const char* folder, const char* output,
                         const std::optional<account>& user, pid_t parent) {
  const int input = open("/dev/null", O_RDONLY);
  const int printed = open(output, O_WRONLY | O_CREAT | O_APPEND, 0600);
  const bool is_ready =
      input >= 0 && printed >= 0 && dup2(input, STDIN_FILENO) >= 0 && dup2(printed, STDOUT_FILENO) >= 0 &&
      dup2(printed, STDERR_FILENO) >= 0 && chdir(folder) == 0 &&
      (!user || (setgroups(0, nullptr) == 0 && setgid(user->group) == 0 && setuid(user->user) == 0)) &&
      prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && getppid() == parent;
  if (is_ready) execv(arguments[0], arguments);
  _exit(127);
}

}  // namespace

std::optional<account> find_account(const std::string& name) {
  const passwd* entry = getpwnam(name.c_str());
  if (entry == nullptr) return std::nullopt;
  return account{entry->pw_uid, entry->pw_gid};
}

std::optional<fs::path> find_program(const std::string& name, const std::vector<fs::path>& folders) {
  std::vector<fs::path> all = folders;
  const char* path = std::getenv("PATH");
  std::istringstream parts(path != nullptr ? path : "");
  for (std::string part; std::getline(parts, part, ':');) all.emplace_back(part);
  for (const fs::path& folder : all)
    if (const fs::path program = folder / name; access(program.c_str(), X_OK) == 0) return program;
  return std::nullopt;
}

peer_process::peer_process(const std::vector<std::string>& command, const fs::path& folder,
                           std::optional<account> user)
    : program_(command.front()), output_(folder / "output") {
  std::vector<std::string> copy = command;
  std::vector<char*> arguments;
  for (std::string& argument : copy) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  const pid_t parent = getpid();
  id_ = fork();
  if (id_ < 0) throw client::error("cannot start " + program_);
  if (id_ == 0) become(arguments.data(), folder.c_str(), output_.c_str(), user, parent);
}

peer_process::~peer_process() {
  if (has_ended()) return;
  kill(id_, SIGTERM);
  for (int i = 0; i < most_pauses; ++i) {
    if (has_ended()) return;
    std::this_thread::sleep_for(pause);
  }
  kill(id_, SIGKILL);
  waitpid(id_, nullptr, 0);
}

bool peer_process::has_ended() {
  if (id_ > 0 && waitpid(id_, &status_, WNOHANG) == id_) id_ = -1;
  return id_ < 0;
}

void peer_process::finish() {
  while (!has_ended()) std::this_thread::sleep_for(pause);
  if (!WIFEXITED(status_) || WEXITSTATUS(status_) != 0) fail("has failed");
}

void peer_process::wait_until(const std::function<bool()>& is_ready) {
  for (int i = 0; i < most_pauses; ++i) {
    if (is_ready()) return;
    if (has_ended()) fail("has ended");
    std::this_thread::sleep_for(pause);
  }
  fail("can't be reached");
}

void peer_process::fail(const std::string& what) const {
  std::ifstream file(output_);
  throw client::error(program_ + " " + what + ":\n" + std::string(std::istreambuf_iterator<char>(file), {}));
}

}  // namespace qrd::bench
