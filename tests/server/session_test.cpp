// Servers that give each client a process of its own, and those that detach themselves.
#include "support/children.h"
#include "support/packets.h"

namespace qrd::test {
namespace {

std::uint16_t new_port_of(const std::string& answer) {
  EXPECT_EQ(answer.substr(0, 14), bytes("SNEWPORT").repeat(2, '\0'));
  return port_of(answer.substr(12));
}

raw_connection session_of(const server_process& parent) {
  raw_connection client = parent.connect();
  std::uint16_t port = new_port_of(client.exchange(new_session, 16));
  EXPECT_EQ(client.receive_rest(), "") << "the parent closes its side";
  return raw_connection::to_port(port);
}

TEST(multi_session, serves_one_client_after_the_other) {
  for (const char* option : {"-multi", "-multisession"}) {
    server_process server({.arguments = {option}});
    for (int i = 0; i < 3; ++i) {
      raw_connection client = server.connect();
      expect_service(client);
      expect_goodbye(client);
      EXPECT_EQ(client.receive_rest(), "");
    }
    raw_connection oldest = server.connect();
    std::string refusal = bytes("SERROR").text("Cannot connect to a multi-session server").str();
    EXPECT_EQ(oldest.exchange(bytes("CHELLO").text("").i32(100), refusal.size()), refusal);
    EXPECT_EQ(oldest.receive_rest(), "");

    // The one kind of end that stops the parent as well.
    server.connect().send("abc");
    EXPECT_EQ(server.wait(), 1);
  }
}

TEST(multi_session, gives_each_client_a_process) {
  server_process server({.arguments = {"-multi"}});
  raw_connection first = session_of(server);
  raw_connection second = session_of(server);
  raw_connection direct = server.connect();
  expect_service(direct);
  expect_service(first);
  expect_service(second);
  EXPECT_EQ(second.exchange(new_session, 12), bytes("SNOSESS")) << "a child has no children";

  std::vector<pid_t> children = children_of(server.pid());
  ASSERT_EQ(children.size(), 2U);
  for (pid_t child : children) {
    EXPECT_EQ(getsid(child), child);
    EXPECT_EQ(open_files_of(child), strings{"socket"}) << "its client's alone";
  }
  EXPECT_EQ(open_files_of(server.pid()), (strings{"socket", "socket"}));

  expect_goodbye(first);
  second.close();
  EXPECT_TRUE(becomes_true([&] { return children_of(server.pid()).empty(); })) << "a zombie is left";

  // The end of the parent is not that of its children.
  expect_goodbye(direct);
  raw_connection third = session_of(server);
  EXPECT_EQ(server.stop(), 1);
  expect_service(third);
}

TEST(multi_session, tells_the_child_of_old_clients_and_of_debugging) {
  temporary_directory directory;
  auto command_line = [&](const std::string& version_option, std::int32_t client_version) {
    fs::remove(directory / "trace");
    strings arguments = {"-multi"};
    if (!version_option.empty()) arguments = {"-multi", "-debug", "-client_version", version_option};
    server_process server({.arguments = arguments, .environment = traced("2", directory / "trace")});
    raw_connection client = server.connect();
    if (client_version != 0) client.exchange(bytes("CHELLO").text("").i32(client_version), 16);
    new_port_of(client.exchange(new_session, 16));
    std::string trace = read_file(directory / "trace");
    for (pid_t child : children_of(server.pid())) {
      EXPECT_HAS(trace, "New Process Id: " + std::to_string(child));
      kill(child, SIGKILL);
    }
    std::size_t start = trace.find("Creating Process with command line: ");
    std::string line = trace.substr(start, trace.find('\n', start) - start);
    std::size_t port = line.find("-control ") + 9;
    return line.erase(port, line.find_first_not_of("0123456789", port) - port);
  };
  const std::string line = "Creating Process with command line: QRDserver -control ";
  EXPECT_EQ(command_line("400001", 0), line + " -client_version 6785 -debug");
  EXPECT_EQ(command_line("", 900039), line + " -client_version 900039");
  EXPECT_EQ(command_line("", 900040), line);
}

// A copy of the server under another name, beside what it takes for its own program.
std::string parent_beside(const temporary_directory& directory, const std::string& child_script) {
  fs::copy_file(server_program, directory / "parent");
  if (!child_script.empty()) {
    write_file(directory / "QRDserver", child_script);
    fs::permissions(directory / "QRDserver", fs::perms::owner_all);
  }
  return directory / "parent";
}

TEST(multi_session, a_child_that_does_not_call_is_a_silent_failure) {
  for (const char* script : {"", "#!/bin/sh\nexit 3\n", "#!/bin/sh\nkill -9 $$\n",
                             // One that breaks its call off must leave nothing in the client's stream.
                             "#!/bin/bash\nexec 3<>/dev/tcp/127.0.0.1/$2\nprintf 'ab' >&3\nexec 3>&-\n"}) {
    temporary_directory directory;
    server_process server({.arguments = {"-multi"},
                           .environment = {{"PATH", "/nowhere"}},
                           .program = parent_beside(directory, script)});
    raw_connection client = server.connect();
    client.send(new_session);
    EXPECT_TRUE(client.is_silent(300ms));
    expect_service(client);
    EXPECT_TRUE(children_of(server.pid()).empty());
    EXPECT_EQ(open_files_of(server.pid()).size(), 2U);
    EXPECT_EQ(server.errors(), *script == '\0'
                                   ? "QRDserver ERROR: _qrd_exec_server: No such file or directory\n"
                                     "QRDserver ERROR: There is no program " +
                                         (directory / "QRDserver") + ", nor is one named QRDserver in PATH.\n"
                                   : "");
  }
}

TEST(multi_session, ends_while_it_waits_for_a_child) {
  temporary_directory directory;
  server_process server({.arguments = {"-multi"},
                         .environment = traced("4", directory / "trace"),
                         .program = parent_beside(directory, "#!/bin/sh\nexec sleep 100\n")});
  raw_connection client = server.connect();
  client.send(new_session);
  ASSERT_TRUE(becomes_true([&] { return !children_of(server.pid()).empty(); }));
  const std::string trace = read_file(directory / "trace");
  EXPECT_HAS(trace.substr(trace.find("CNEWSESS")), "Binding socket to 127.0.0.1:0")
      << "only this machine's children may call";
  std::vector<pid_t> children = children_of(server.pid());
  auto start = clock::now();
  EXPECT_EQ(server.stop(), 1);
  EXPECT_LT(clock::now() - start, 2s);
  for (pid_t child : children) kill(child, SIGKILL);
}

TEST(controlled, fails_when_nobody_listens) {
  std::uint16_t free_port = listening_port().port();
  server_run run = run_server({.arguments = {"-port", "6000", "-control", std::to_string(free_port)}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "QRDserver ERROR: _qrd_connect(127.0.0.1:" + std::to_string(free_port) +
                "), connect\nWinsock error: No connection could be made because the target machine "
                "actively refused it\nQRDserver ERROR: Cannot initialize server.\n");
}

TEST(controlled, listens_on_the_given_address_alone) {
  server_process server({.environment = {{"QRD_LISTEN_ADDRESS", "127.0.0.2"}}});
  EXPECT_THROW(server.connect(), std::exception) << "it is not on 127.0.0.1";

  // Its children call on the loopback address whatever address the clients use.
  server_process parent({.arguments = {"-multi"}, .environment = {{"QRD_LISTEN_ADDRESS", "127.0.0.1"}}});
  raw_connection client = session_of(parent);
  expect_service(client);
}

TEST(listening, a_second_server_on_a_port_fails) {
  server_process first({.arguments = {"-multi"}});
  server_run run = run_server({.arguments = {"-port", std::to_string(first.port())}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "QRDserver ERROR: Cannot bind socket\nWinsock error: The address and port are already in "
            "use by another socket\nQRDserver ERROR: Cannot initialize server.\n");
}

TEST(fork, leaves_a_detached_copy) {
  listening_port control;
  server_process starter(
      {.arguments = {"-fork", "-control", std::to_string(control.port()), "-debug", "-fork"},
       .controlled = false});
  EXPECT_EQ(starter.wait(), 1) << "also when it worked";
  std::optional<raw_connection> call = control.accept(10s);
  ASSERT_TRUE(call.has_value());
  raw_connection client = raw_connection::to_port(new_port_of(bytes("SNEWPORT").str() + call->receive(4)));
  expect_service(client);
  expect_goodbye(client);
  EXPECT_EQ(starter.errors(), "");
  EXPECT_EQ(starter.output().find("Received"), std::string::npos) << "the copy prints nowhere";
}

// What the last client left in the buffer, and a want of descriptors, do no harm to the next one.
TEST(multi_session, a_new_client_begins_anew) {
  server_process server({.arguments = {"-multi"}});
  raw_connection first = server.connect();
  // Its last request takes the beginning of another one off the socket.
  EXPECT_EQ(first.exchange(goodbye + bytes().i32(5).str(), 12), goodbye_answer);
  EXPECT_EQ(first.receive_rest(), "");
  raw_connection second = server.connect();
  expect_service(second);
}

TEST(multi_session, waits_for_a_descriptor) {
  server_process server({.arguments = {"-multi"}});
  raw_connection first = server.connect();
  expect_service(first);
  rlimit before{};
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none = {4, before.rlim_max};  // the standard streams and the listening socket
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  expect_goodbye(first);
  raw_connection second = server.connect();
  second.send(arch);
  EXPECT_TRUE(second.is_silent(300ms));
  ASSERT_TRUE(server.is_running());
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_EQ(second.receive(16), arch_answer);
  EXPECT_EQ(server.errors(), "QRDserver ERROR: accept() failed and is tried again: Too many open files\n");
  // Asked to end while it waits for one.
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  expect_goodbye(second);
  raw_connection third = server.connect();
  EXPECT_TRUE(third.is_silent(200ms));
  auto start = clock::now();
  EXPECT_EQ(server.stop(), 1);
  EXPECT_LT(clock::now() - start, 2s);
}

}  // namespace
}  // namespace qrd::test
