// Servers that give each client a process of its own, and those that detach themselves.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "support/bytes.h"
#include "support/children.h"
#include "support/programs.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

const std::string new_session = bytes().text("CNEWSESS").str();
const std::string goodbye = bytes().text("CBYE BYE").str();
const std::string goodbye_answer = bytes().text("SBYE BYE").str();
const std::string arch = bytes().text("CARCH").i32(1).str();
const std::string arch_answer = bytes().text("SARCH").i32(1).str();

std::uint16_t port_of_answer(const std::string& answer) {
  EXPECT_EQ(answer.substr(0, 14), bytes().text("SNEWPORT").repeat(2, '\0').str());
  return static_cast<std::uint16_t>(static_cast<unsigned char>(answer.at(14)) << 8 |
                                    static_cast<unsigned char>(answer.at(15)));
}

raw_connection session_of(const server_process& parent) {
  raw_connection client = parent.connect();
  std::uint16_t port = port_of_answer(client.exchange(new_session, 16));
  EXPECT_EQ(client.receive_rest(), "") << "the parent closes its side";
  return raw_connection::to_port(port);
}

TEST(multi_session, serves_one_client_after_the_other) {
  for (const char* option : {"-multi", "-multisession"}) {
    server_process server({.arguments = {option}});
    for (int i = 0; i < 3; ++i) {
      raw_connection client = server.connect();
      EXPECT_EQ(client.exchange(arch, 16), arch_answer);
      EXPECT_EQ(client.exchange(goodbye, 12), goodbye_answer);
      EXPECT_EQ(client.receive_rest(), "");
    }
    raw_connection oldest = server.connect();
    std::string refusal = bytes().text("SERROR").text("Cannot connect to a multi-session server").str();
    EXPECT_EQ(oldest.exchange(bytes().text("CHELLO").text("").i32(100).str(), refusal.size()), refusal);
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
  EXPECT_EQ(direct.exchange(arch, 16), arch_answer);
  EXPECT_EQ(first.exchange(arch, 16), arch_answer);
  EXPECT_EQ(second.exchange(arch, 16), arch_answer);
  EXPECT_EQ(second.exchange(new_session, 12), bytes().text("SNOSESS").str()) << "a child has no children";

  std::vector<pid_t> children = children_of(server.pid());
  ASSERT_EQ(children.size(), 2U);
  for (pid_t child : children) {
    EXPECT_EQ(getsid(child), child);
    EXPECT_EQ(open_files_of(child), std::vector<std::string>{"socket"}) << "its client's alone";
  }
  EXPECT_EQ(open_files_of(server.pid()), (std::vector<std::string>{"socket", "socket"}));

  EXPECT_EQ(first.exchange(goodbye, 12), goodbye_answer);
  second.close();
  EXPECT_TRUE(becomes_true([&] { return children_of(server.pid()).empty(); })) << "a zombie is left";

  // The end of the parent is not that of its children.
  EXPECT_EQ(direct.exchange(goodbye, 12), goodbye_answer);
  raw_connection third = session_of(server);
  EXPECT_EQ(server.stop(), 1);
  EXPECT_EQ(third.exchange(arch, 16), arch_answer);
}

TEST(multi_session, tells_the_child_of_old_clients_and_of_debugging) {
  temporary_directory directory;
  auto command_line = [&](const std::string& version_option, std::int32_t client_version) {
    fs::remove(directory / "trace");
    std::vector<std::string> arguments = {"-multi"};
    if (!version_option.empty()) arguments = {"-multi", "-debug", "-client_version", version_option};
    server_process server(
        {.arguments = arguments,
         .environment = {{"QRD_SERVER_TRACE", "2"}, {"QRD_SERVER_TRACE_FILE", directory / "trace"}}});
    raw_connection client = server.connect();
    if (client_version != 0) client.exchange(bytes().text("CHELLO").text("").i32(client_version).str(), 16);
    port_of_answer(client.exchange(new_session, 16));
    std::string trace = read_file(directory / "trace");
    for (pid_t child : children_of(server.pid())) {
      EXPECT_NE(trace.find("New Process Id: " + std::to_string(child)), std::string::npos);
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
  for (const char* script : {"", "#!/bin/sh\nexit 3\n", "#!/bin/sh\nkill -9 $$\n"}) {
    temporary_directory directory;
    server_process server({.arguments = {"-multi"},
                           .environment = {{"PATH", "/nowhere"}},
                           .program = parent_beside(directory, script)});
    raw_connection client = server.connect();
    client.send(new_session);
    EXPECT_TRUE(client.is_silent(300ms));
    EXPECT_EQ(client.exchange(arch, 16), arch_answer) << "the client is still served";
    EXPECT_TRUE(children_of(server.pid()).empty());
    EXPECT_EQ(open_files_of(server.pid()).size(), 2U);
    EXPECT_EQ(server.errors(), *script == '\0'
                                   ? "QRDserver ERROR: _qrd_exec_server: No such file or directory\n"
                                     "QRDserver ERROR: There is no program " +
                                         (directory / "QRDserver") + ", nor is one named QRDserver in PATH.\n"
                                   : "");
  }
}

// A child that breaks its call off must leave nothing in the client's stream.
TEST(multi_session, a_broken_call_leaves_the_stream_in_order) {
  temporary_directory directory;
  server_process server(
      {.arguments = {"-multi"},
       .program = parent_beside(directory,
                                "#!/bin/bash\nexec 3<>/dev/tcp/127.0.0.1/$2\nprintf 'ab' >&3\nexec 3>&-\n")});
  raw_connection client = server.connect();
  client.send(new_session);
  EXPECT_TRUE(client.is_silent(500ms));
  EXPECT_EQ(client.exchange(arch, 16), arch_answer);
}

TEST(multi_session, ends_while_it_waits_for_a_child) {
  temporary_directory directory;
  server_process server(
      {.arguments = {"-multi"},
       .environment = {{"QRD_SERVER_TRACE", "4"}, {"QRD_SERVER_TRACE_FILE", directory / "trace"}},
       .program = parent_beside(directory, "#!/bin/sh\nexec sleep 100\n")});
  raw_connection client = server.connect();
  client.send(new_session);
  ASSERT_TRUE(becomes_true([&] { return !children_of(server.pid()).empty(); }));
  const std::string trace = read_file(directory / "trace");
  EXPECT_NE(trace.find("Binding socket to 127.0.0.1:0", trace.find("CNEWSESS")), std::string::npos)
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
  EXPECT_EQ(client.exchange(arch, 16), arch_answer);
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
  raw_connection client =
      raw_connection::to_port(port_of_answer(bytes().text("SNEWPORT").str() + call->receive(4)));
  EXPECT_EQ(client.exchange(arch, 16), arch_answer);
  EXPECT_EQ(client.exchange(goodbye, 12), goodbye_answer);
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
  EXPECT_EQ(second.exchange(arch, 16), arch_answer);
}

TEST(multi_session, waits_for_a_descriptor) {
  server_process server({.arguments = {"-multi"}});
  raw_connection first = server.connect();
  EXPECT_EQ(first.exchange(arch, 16), arch_answer);
  rlimit before{};
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none = {4, before.rlim_max};  // the standard streams and the listening socket
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  EXPECT_EQ(first.exchange(goodbye, 12), goodbye_answer);
  raw_connection second = server.connect();
  second.send(arch);
  EXPECT_TRUE(second.is_silent(300ms));
  ASSERT_TRUE(server.is_running());
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_EQ(second.receive(16), arch_answer);
  EXPECT_EQ(server.errors(), "QRDserver ERROR: accept() failed and is tried again: Too many open files\n");
  // Asked to end while it waits for one.
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  EXPECT_EQ(second.exchange(goodbye, 12), goodbye_answer);
  raw_connection third = server.connect();
  EXPECT_TRUE(third.is_silent(200ms));
  auto start = clock::now();
  EXPECT_EQ(server.stop(), 1);
  EXPECT_LT(clock::now() - start, 2s);
}

}  // namespace
}  // namespace qrd::test
