// The ways in which qrd finds its server.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <thread>

#include "command.h"
#include "support/bytes.h"
#include "support/database.h"
#include "support/programs.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

TEST_F(commands, talk_through_a_command) {
  make_directory();
  const std::string command = std::string(server_program) + " -inetd -quiet";
  EXPECT_EQ(good({"--via", command, "new", "directory", "S", "Made there"}), "");
  EXPECT_EQ(good({"--via", "cd / && " + command, "--server", "127.0.0.1:1", "ls", "S"}), "D\nMade there\n");

  // What the command says reaches the user as it is.
  const std::string broken = complaints({"--via", "echo the road is closed >&2; exit 7", "ls"}, {}, 3);
  EXPECT_EQ(broken,
            "the road is closed\nqrd: the server has closed the connection while greeting (CHELLO); "
            "\"echo the road is closed >&2; exit 7\" ended with status 7\n");
}

TEST_F(commands, talk_through_ssh) {
  make_directory();
  // Stands for the real one: tells its arguments, and does what the far shell does.
  std::filesystem::create_directories(scratch_ / "far it's/bin");
  const std::string far_server = scratch_ / "far it's/bin/QRDserver";
  std::filesystem::create_symlink(server_program, far_server);
  write_file(scratch_ / "ssh",
             "#!/bin/bash\nprintf '%s\\n' \"$@\" >" + scratch_ / "arguments" + "\nexec sh -c \"${@: -1}\"\n");
  std::filesystem::permissions(scratch_ / "ssh", std::filesystem::perms::owner_all);
  const auto run_with = [&](const std::string& place) {
    const std::string path = "PATH=" + scratch_.path().string() + ":" + std::getenv("PATH");
    return run_program("/usr/bin/env", {path, client_program, "--root", root_, "--server", place, "ls"});
  };
  const auto expect_asked = [&](const std::string& place, const std::string& arguments) {
    const program_run result = run_with(place);
    EXPECT_EQ(result.output, "S\n");
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(read_file(scratch_ / "arguments"), "-T\n" + arguments);
  };
  std::string quoted = far_server;
  quoted.replace(quoted.find('\''), 1, "'\\''");
  expect_asked("ssh://me@db.example.org:2222" + far_server,
               "-p\n2222\nme@db.example.org\n'" + quoted + "' -inetd -quiet\n");
  expect_asked("ssh://me@[::1]:22" + far_server, "-p\n22\nme@::1\n'" + quoted + "' -inetd -quiet\n");
  std::filesystem::create_symlink(server_program, scratch_ / "QRDserver");
  expect_asked("ssh://db", "db\nQRDserver -inetd -quiet\n");

  std::filesystem::remove(scratch_ / "arguments");
  for (const char* wrong : {"ssh://", "ssh://-oProxyCommand=true", "ssh://db:0", "ssh://db:ssh", "-x:1"}) {
    const program_run result = run_with(wrong);
    EXPECT_EQ(result.status, 1) << wrong;
    EXPECT_NE(result.errors.find(std::string("not as \"") + wrong), std::string::npos) << result.errors;
  }
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "arguments"));
}

TEST_F(commands, talk_through_a_socket_in_the_file_system) {
  make_directory();
  const std::string path = scratch_ / "socket";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listening, 1), 0);
  std::string said;
  std::thread manager([&] {
    const int accepted = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    server_process server({.arguments = {"-inetd"}, .controlled = false, .streams = {accepted, -1, -1}});
    close(accepted);
    EXPECT_EQ(server.wait(), 0);
    said = server.errors();
  });
  EXPECT_EQ(good({"--server", "unix:" + path, "ls", "S"}), "D\n");
  manager.join();
  close(listening);
  EXPECT_NE(said.find(": goodbye; "), std::string::npos) << said;
  EXPECT_NE(complaint({"--server", "unix:" + path, "ls"}, {}, 3).find("Connection refused"),
            std::string::npos);
  EXPECT_NE(complaint({"--server", "unix:/" + std::string(200, 'x'), "ls"}, {}, 3).find("at most 107"),
            std::string::npos);
}

}  // namespace
}  // namespace qrd::test
