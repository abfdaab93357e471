// Servers that are started with their client's connection.
#include <stdlib.h>

#include "support/connections.h"
#include "support/packets.h"
#include "wire/request_table.h"

namespace qrd::test {
namespace {

const std::string names = bytes("CSUPREQ").str();
const std::string names_begin = bytes("SSUPREQ").i32(83).str();

// The server on two pipes. Nobody reads the answers unless they are asked for.
struct piped_server {
  piped_server() {
    fcntl(pipes.answers[1], F_SETPIPE_SZ, 4096);
    server_settings settings = started_on(pipes.requests[0], pipes.answers[1], {"-inetd", "-quiet"});
    settings.environment = traced("1", directory / "trace");
    server.emplace(settings);
    client = pipes.take_near();
  }
  temporary_directory directory;
  pipe_pair pipes;
  std::optional<server_process> server;
  raw_connection client;
};

TEST(inherited, pipes_end_with_the_client_or_a_signal) {
  const struct {
    const char* name;
    std::string sent;
    int times;
    int signal;  // or none: the client goes
  } ends[] = {{"gone", "", 0, 0},
              {"gone in a packet", "abc", 1, 0},
              {"a signal", "", 0, SIGTERM},
              {"a signal in a packet", "abc", 1, SIGINT},
              {"a signal before an answer that nobody reads", names, 8, SIGTERM}};
  for (const auto& [name, sent, times, signal] : ends) {
    SCOPED_TRACE(name);
    piped_server at;
    at.client.exchange(names, names_begin.size());
    for (int i = 0; i < times; ++i) at.client.send(sent), std::this_thread::sleep_for(200ms / times);
    signal == 0 ? at.client.close() : at.server->send_signal(signal);
    const auto start = clock::now();
    EXPECT_EQ(at.server->wait(5s), 1);
    EXPECT_LT(clock::now() - start, 2s);
    EXPECT_HAS(read_file(at.directory / "trace"), "Function server_close") << "not in good order";
    EXPECT_EQ(at.server->errors(), "");
  }
}

// The starter of this one doesn't want to wait for anything.
TEST(inherited, a_socket_that_does_not_block_is_waited_for) {
  socket_pair pair;
  const int small = 1;
  setsockopt(pair.far, SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
  fcntl(pair.far, F_SETFL, O_NONBLOCK);
  server_process server(started_on(pair.far));
  raw_connection client = pair.take_near();
  // The second answer finds no room behind the first.
  for (int i = 0; i < 2; ++i) client.send(names), std::this_thread::sleep_for(200ms);
  std::string answer = names_begin;
  for (const request_row& row : request_table) answer += bytes(row.name).str();
  EXPECT_EQ(client.receive(2 * answer.size()), answer + answer);
  expect_goodbye(client);
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
  const listening_port listening;
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
      {listening.descriptor(), -1, "a listening socket"},
      {unconnected, -1, "a socket without a connection"},
      {datagrams.far, -1, "a socket without a stream"},
      {records.far, -1, "a socket without a stream"},
      {pipes.requests[1], pipes.answers[1], "a pipe"},
      {pipes.requests[0], -1, pipe_alone},
      {pipes.requests[0], pipes.answers[0], pipe_alone},
  };
  for (const auto& wrong : cases) {
    server_process server(started_on(wrong.input, wrong.output));
    EXPECT_EQ(server.wait(5s), 1);
    EXPECT_EQ(server.errors(),
              "QRDserver ERROR: -inetd needs a connected stream socket, or two pipes on descriptors 0 and 1: "
              "descriptor 0 is " +
                  wrong.fault + ".\nQRDserver ERROR: Cannot initialize server.\n");
    EXPECT_EQ(server.output(), "");
  }
  for (int descriptor : {file, null, folder, terminal, unconnected}) close(descriptor);

  // What is passed by number is meant for the process with the number, and is one descriptor.
  for (const char* passed : {"LISTEN_PID=1 LISTEN_FDS=1", "LISTEN_PID=$$ LISTEN_FDS=2", "LISTEN_FDS=1"}) {
    const socket_pair pair;
    const std::string script =
        std::string("export ") + passed + "; exec " + server_program + " -inetd 3<&0 4<&0 </dev/null";
    server_process server(started_by_shell(script, pair.far));
    EXPECT_EQ(server.wait(5s), 1) << passed;
    EXPECT_HAS(server.errors(), "descriptor 0 is a device");
  }
}

// The client on the terminal gets the signal too, and asks its session to undo what it has begun.
TEST(inherited, an_interrupt_that_the_starter_ignores_is_ignored) {
  socket_pair pair;
  server_process server(
      started_by_shell(std::string("trap '' INT; exec ") + server_program + " -inetd", pair.far));
  raw_connection client = pair.take_near();
  expect_service(client);
  server.send_signal(SIGINT);
  std::this_thread::sleep_for(50ms);
  expect_service(client);
  EXPECT_EQ(server.stop(), 1);
}

TEST(inherited, goes_with_no_other_way_to_get_clients) {
  for (const strings& other : {strings{"-multi", "-inetd"},
                               {"-fork", "-inetd"},
                               {"-port", "6001", "-inetd"},
                               {"-control", "6001", "-inetd"}}) {
    socket_pair pair;
    server_process server(started_on(pair.far, -1, other));
    EXPECT_EQ(server.wait(5s), 1);
    EXPECT_EQ(server.errors(),
              "QRDserver ERROR: -inetd goes with none of -port, -control, -multi and -fork.\n");
    EXPECT_EQ(pair.take_near().receive_rest(), "");
  }
}

}  // namespace
}  // namespace qrd::test
