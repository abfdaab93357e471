// Servers that are started with their client's connection.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <stdlib.h>

#include <csignal>
#include <thread>

#include "support/bytes.h"
#include "support/connections.h"
#include "support/programs.h"
#include "support/server_process.h"
#include "wire/request_table.h"

namespace qrd::test {
namespace {

using namespace std::chrono_literals;

const std::string names = bytes().text("CSUPREQ").str();
const std::string names_begin = bytes().text("SSUPREQ").i32(83).str();

// The server on two pipes. Nobody reads the answers unless they are asked for.
struct piped_server {
  piped_server() {
    fcntl(pipes.answers[1], F_SETPIPE_SZ, 4096);
    server.emplace(server_settings{
        .arguments = {"-inetd", "-quiet"},
        .environment = {{"QRD_SERVER_TRACE", "1"}, {"QRD_SERVER_TRACE_FILE", directory / "trace"}},
        .controlled = false,
        .streams = {pipes.requests[0], pipes.answers[1], -1}});
    client = pipes.take_near();
  }
  temporary_directory directory;
  pipe_pair pipes;
  std::optional<server_process> server;
  raw_connection client;
};

TEST(inherited, pipes_end_with_the_client_or_a_signal) {
  const std::pair<const char*, std::function<void(piped_server&)>> ends[] = {
      {"gone", [](piped_server& at) { at.client.close(); }},
      {"gone in a packet",
       [](piped_server& at) {
         at.client.send("abc");
         at.client.close();
       }},
      {"a signal", [](piped_server& at) { at.server->send_signal(SIGTERM); }},
      {"a signal in a packet",
       [](piped_server& at) {
         at.client.send("abc");
         std::this_thread::sleep_for(200ms);
         at.server->send_signal(SIGINT);
       }},
      {"a signal before an answer that nobody reads",
       [](piped_server& at) {
         for (int i = 0; i < 8; ++i, std::this_thread::sleep_for(20ms)) at.client.send(names);
         at.server->send_signal(SIGTERM);
       }},
  };
  for (const auto& [name, act] : ends) {
    SCOPED_TRACE(name);
    piped_server at;
    at.client.exchange(names, names_begin.size());
    act(at);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(at.server->wait(5s), 1);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    EXPECT_NE(read_file(at.directory / "trace").find("Function server_close"), std::string::npos)
        << "not in good order";
    EXPECT_EQ(at.server->errors(), "");
  }
}

// The starter of this one doesn't want to wait for anything.
TEST(inherited, a_socket_that_does_not_block_is_waited_for) {
  socket_pair pair;
  const int small = 1;
  setsockopt(pair.far, SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
  fcntl(pair.far, F_SETFL, O_NONBLOCK);
  server_process server({.arguments = {"-inetd"}, .controlled = false, .streams = {pair.far, -1, -1}});
  raw_connection client = pair.take_near();
  // The second answer finds no room behind the first.
  client.send(names);
  std::this_thread::sleep_for(200ms);
  client.send(names);
  std::this_thread::sleep_for(200ms);
  std::string answer = names_begin;
  for (const request_row& row : request_table) answer += bytes().text(row.name).str();
  EXPECT_EQ(client.receive(2 * answer.size()), answer + answer);
  EXPECT_EQ(client.exchange(bytes().text("CBYE BYE").str(), 12), bytes().text("SBYE BYE").str());
  EXPECT_EQ(client.receive_rest(), "");
  EXPECT_EQ(server.wait(), 0);
  EXPECT_EQ(server.output(), "");
}

TEST(inherited, anything_but_a_connection_is_refused) {
  const temporary_directory directory;
  write_file(directory / "file", "");
  const int file = open((directory / "file").c_str(), O_RDWR | O_CLOEXEC);
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  const int folder = open(directory.path().c_str(), O_RDONLY | O_CLOEXEC);
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  const int unconnected = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listening, 1), 0);
  const socket_pair datagrams(SOCK_DGRAM), records(SOCK_SEQPACKET);
  const pipe_pair pipes;
  const std::string pipe_alone = "a pipe, and there is none for the answers on 1";
  struct {
    int input, output;
    std::string fault;
  } const cases[] = {
      {terminal, -1, "a terminal"},
      {file, -1, "a file"},
      {folder, -1, "a folder"},
      {null, -1, "a device"},
      {listening, -1, "a listening socket"},
      {unconnected, -1, "a socket without a connection"},
      {datagrams.far, -1, "a socket without a stream"},
      {records.far, -1, "a socket without a stream"},
      {pipes.requests[1], pipes.answers[1], "a pipe"},
      {pipes.requests[0], -1, pipe_alone},
      {pipes.requests[0], pipes.answers[0], pipe_alone},
  };
  for (const auto& wrong : cases) {
    server_process server(
        {.arguments = {"-inetd"}, .controlled = false, .streams = {wrong.input, wrong.output, -1}});
    EXPECT_EQ(server.wait(5s), 1);
    EXPECT_EQ(server.errors(),
              "QRDserver ERROR: -inetd needs a connected stream socket, or two pipes on descriptors 0 and 1: "
              "descriptor 0 is " +
                  wrong.fault + ".\nQRDserver ERROR: Cannot initialize server.\n");
    EXPECT_EQ(server.output(), "");
  }
  for (int descriptor : {file, null, folder, terminal, unconnected, listening}) close(descriptor);

  // What is passed by number is meant for the process with the number, and is one descriptor.
  for (const char* passed : {"LISTEN_PID=1 LISTEN_FDS=1", "LISTEN_PID=$$ LISTEN_FDS=2", "LISTEN_FDS=1"}) {
    const socket_pair pair;
    const std::string script =
        std::string("export ") + passed + "; exec " + server_program + " -inetd 3<&0 4<&0 </dev/null";
    server_process server({.arguments = {"-c", script},
                           .controlled = false,
                           .program = "/bin/sh",
                           .streams = {pair.far, -1, -1}});
    EXPECT_EQ(server.wait(5s), 1) << passed;
    EXPECT_NE(server.errors().find("descriptor 0 is a device"), std::string::npos) << server.errors();
  }
}

// The client on the terminal gets the signal too, and asks its session to undo what it has begun.
TEST(inherited, an_interrupt_that_the_starter_ignores_is_ignored) {
  const std::string arch = bytes().text("CARCH").i32(1).str();
  socket_pair pair;
  server_process server({.arguments = {"-c", std::string("trap '' INT; exec ") + server_program + " -inetd"},
                         .controlled = false,
                         .program = "/bin/sh",
                         .streams = {pair.far, -1, -1}});
  raw_connection client = pair.take_near();
  client.exchange(arch, 16);
  server.send_signal(SIGINT);
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(client.exchange(arch, 16), bytes().text("SARCH").i32(1).str());
  EXPECT_EQ(server.stop(), 1);
}

TEST(inherited, goes_with_no_other_way_to_get_clients) {
  for (const std::vector<std::string>& other :
       {std::vector<std::string>{"-multi"}, {"-fork"}, {"-port", "6001"}, {"-control", "6001"}}) {
    socket_pair pair;
    server_settings settings = {.arguments = other, .controlled = false, .streams = {pair.far, -1, -1}};
    settings.arguments.emplace_back("-inetd");
    server_process server(settings);
    EXPECT_EQ(server.wait(5s), 1);
    EXPECT_EQ(server.errors(),
              "QRDserver ERROR: -inetd goes with none of -port, -control, -multi and -fork.\n");
    EXPECT_EQ(pair.take_near().receive_rest(), "");
  }
}

}  // namespace
}  // namespace qrd::test
