#include "wire/exec_server.h"

#include "server/wire.h"
#include "support/test.h"

namespace qrd::test {
namespace {

// Starting children makes the system dispose of them; the tests wait for theirs.
struct exec_server_calls : testing::Test {
  ~exec_server_calls() override { std::signal(SIGCHLD, SIG_DFL); }

  std::string script(const std::string& text) const {
    write_file(directory_ / "program", "#!/bin/bash\ncd '" + directory_.path().string() + "'\n" + text);
    fs::permissions(directory_ / "program", fs::perms::owner_all);
    return directory_ / "program";
  }
  static bool ends(const child_watch& child) {
    pollfd waiting = {child.descriptor(), POLLIN, 0};
    return poll(&waiting, 1, 10'000) == 1;
  }

  temporary_directory directory_;
};

TEST_F(exec_server_calls, passes_each_argument_whole) {
  std::string program = script(
      "printf '%s|' \"$@\" > arguments; ls /proc/self/fd | wc -l > files\n"
      "cut -d' ' -f6 /proc/$$/stat > session\n");
  int open_file = dup(STDERR_FILENO);  // inheritable
  const char* arguments[] = {program.c_str(), "two words", "", "\"quoted\" $x", nullptr};
  captured_trace trace(2);
  child_watch child;
  std::int32_t process = _qrd_exec_server(nullptr, arguments, &child);
  ASSERT_GT(process, 0);
  ASSERT_TRUE(ends(child));
  ::close(open_file);
  EXPECT_EQ(read_file(directory_ / "arguments"), "two words||\"quoted\" $x|");
  EXPECT_EQ(std::stoi(read_file(directory_ / "files")), 4)
      << "the three standard ones, and that of ls itself";
  EXPECT_EQ(std::stoi(read_file(directory_ / "session")), process);
  std::string line = program + " two words  \"quoted\" $x";
  EXPECT_EQ(trace.text(), "_qrd_exec_server(" + line + ")\nCreating Process with command line: " + line +
                              "\nNew Process Id: " + std::to_string(process) + "\n");
}

TEST_F(exec_server_calls, a_path_takes_the_first_place) {
  std::string program = script("");
  const char* arguments[] = {"name", "argument", nullptr};
  captured_trace trace(2);
  child_watch child;
  EXPECT_GT(_qrd_exec_server(program.c_str(), arguments, &child), 0);
  EXPECT_TRUE(ends(child));
  EXPECT_HAS(trace.text(), "command line: \"" + program + "\" argument\n");
}

TEST_F(exec_server_calls, reports_a_program_that_is_not_there) {
  captured_errors errors;
  const char* arguments[] = {"/nowhere/program", nullptr};
  EXPECT_EQ(_qrd_exec_server(nullptr, arguments), -1);
  EXPECT_EQ(captured_errors::texts(), strings{"_qrd_exec_server: No such file or directory"});
}

TEST_F(exec_server_calls, leaves_no_zombie_of_any_child) {
  // A child that ends while another is being started.
  std::signal(SIGCHLD, SIG_DFL);
  pid_t earlier = fork();
  if (earlier == 0) _exit(0);
  siginfo_t ended;
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(earlier), &ended, WEXITED | WNOWAIT), 0);

  const char* arguments[] = {"true", nullptr};
  child_watch child;
  ASSERT_GT(_qrd_exec_server(nullptr, arguments, &child), 0);
  ASSERT_TRUE(ends(child));
  EXPECT_EQ(waitpid(-1, nullptr, 0), -1) << "a child was left";
}

}  // namespace
}  // namespace qrd::test
