// What is left of a command that ends in the middle: nothing.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "end_to_end/command.h"
#include "qrd/server_process.h"
#include "support/programs.h"

namespace qrd::test {
namespace {

using std::chrono::steady_clock;

// Runs qrd in the background.
class background_run {
 public:
  background_run(strings arguments, const std::string& errors) {
    arguments.insert(arguments.begin(), client_program);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    id_ = fork();
    if (id_ != 0) return;
    dup2(open(errors.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    execv(client_program, pointers.data());
    _exit(127);
  }

  pid_t id() const { return id_; }
  // The server that it has started.
  pid_t server() const {
    std::ifstream children("/proc/" + std::to_string(id_) + "/task/" + std::to_string(id_) + "/children");
    pid_t child = 0;
    children >> child;
    return child;
  }
  // Its exit status, or minus the signal that ended it.
  int wait() const {
    int status = 0;
    waitpid(id_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  pid_t id_;
};

// Waits until something of that name is below the folder.
bool appears(const std::string& folder, const std::string& name) {
  const auto limit = steady_clock::now() + std::chrono::seconds(20);
  while (steady_clock::now() < limit) {
    std::error_code problem;
    for (auto entry = std::filesystem::recursive_directory_iterator(folder, problem);
         entry != std::filesystem::recursive_directory_iterator(); entry.increment(problem)) {
      if (problem) break;
      if (entry->path().filename() == name) return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return false;
}

TEST_F(commands, an_import_that_ends_in_the_middle_leaves_nothing) {
  make_directory();
  good({"import", "points", "S", "D", "Kept", "-"}, "x,y\n1,2\n");
  std::string table = "x,y";
  std::string row = "1,2";
  for (int i = 0; i < 400; ++i) {
    table += ",v" + std::to_string(i);
    row += ",3";
  }
  write_file(scratch_ / "table.csv", table + "\n" + row + "\n" + row + "\n");
  // The user, and what can happen to the server.
  for (const bool interrupted : {true, false}) {
    const std::string errors = scratch_ / (interrupted ? "interrupted" : "broken");
    const background_run import({"--root", root_, "import", "points", "S", "D", "P", scratch_ / "table.csv"},
                                errors);
    EXPECT_TRUE(appears(root_, "VARI.20"));
    // An import that has ended already has no server, and number 0 would be this program's whole group.
    const pid_t struck = interrupted ? import.id() : import.server();
    ASSERT_GT(struck, 0);
    kill(struck, interrupted ? SIGINT : SIGKILL);
    EXPECT_EQ(import.wait(), interrupted ? -SIGINT : 3);
    EXPECT_EQ(good({"ls", "S", "D"}), "Kept\n") << interrupted;
    EXPECT_TRUE(read_file(errors).starts_with("qrd: ")) << read_file(errors);
    EXPECT_EQ(read_file(errors).find("could not be removed"), std::string::npos) << read_file(errors);
  }
}

TEST_F(commands, an_interrupted_export_leaves_nothing) {
  make_directory();
  good({"new", "grid", "S", "D", "G", "--nodes", "2000", "2000"});
  const std::string path = scratch_ / "out";
  std::filesystem::create_directory(path);
  const background_run running({"--root", root_, "export", "S", "D", "G", "-o", path + "/grid.csv"},
                               scratch_ / "err");
  const auto limit = steady_clock::now() + std::chrono::seconds(20);
  while (std::filesystem::is_empty(path) && steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  EXPECT_FALSE(std::filesystem::exists(path + "/grid.csv"));
  kill(running.id(), SIGTERM);
  EXPECT_EQ(running.wait(), -SIGTERM);
  EXPECT_TRUE(std::filesystem::is_empty(path));
}

TEST_F(commands, nothing_is_left_of_a_creation_that_fails) {
  make_directory();
  complaint({"new", "macro", "S", "D", "G", "m", "1"});
  good({"new", "grid", "S", "D", "G", "--nodes", "2", "2"});
  // The variable is there when the name of its column turns out to be too long.
  complaint({"new", "macro", "S", "D", "G", "m", "1", "--unit-text", "feet and more"});
  EXPECT_EQ(good({"ls", "S", "D"}), "G\n");
}

// The hexadecimal address of a listening socket with that port in the table of the system; empty if none
// listens.
std::string listening_address(std::uint16_t port) {
  constexpr const char* listening_state = "0A";
  char wanted[8];
  std::snprintf(wanted, sizeof wanted, ":%04X", port);
  std::ifstream table("/proc/net/tcp");
  std::string number, local, remote, state, rest;
  while (table >> number >> local >> remote >> state && std::getline(table, rest))
    if (local.ends_with(wanted) && state == listening_state) return local.substr(0, local.find(':'));
  return {};
}

TEST(private_server, listens_on_loopback_alone) {
  client::server_options options;
  options.program = server_program;
  client::server_process own(options);
  EXPECT_EQ(listening_address(own.port()), "0100007F");
  options.environment = {{"QRD_LISTEN_ADDRESS", "0.0.0.0"}};
  client::server_process open(options);
  EXPECT_EQ(listening_address(open.port()), "00000000");
  own.end(std::chrono::milliseconds(0));
  open.end(std::chrono::milliseconds(0));
}

}  // namespace
}  // namespace qrd::test
