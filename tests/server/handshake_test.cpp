// The conversation of the real server, byte by byte.
#include <list>
#include <regex>

#include "server/trace_text.h"
#include "support/packets.h"
#include "support/request_session.h"

namespace qrd::test {
namespace {

std::string hello(std::int32_t version, const std::string& path = "") {
  return bytes("CHELLO").text(path).i32(version).str();
}

TEST(handshake, whole_conversation) {
  server_process server;
  raw_connection client = server.connect();
  for (const auto& [version, own] :
       {std::pair{1300030, 1300030}, {400001, 1300030}, {400000, 412}, {-1, 412}})
    expect_answer(client, hello(version), bytes("SWELCOME").i32(own));
  expect_service(client);
  expect_answer(client, bytes("CNEWSESS"), bytes("SNOSESS"));
  EXPECT_THROW(server.connect(), std::exception) << "only one client is ever accepted";

  auto start = clock::now();
  expect_goodbye(client);
  EXPECT_EQ(client.receive_rest(), "");
  EXPECT_EQ(server.wait(), 0);
  EXPECT_GE(clock::now() - start, 950ms);
  EXPECT_EQ(server.output(), std::string(server_program) + " 15.03 (2015.3)\n");
  EXPECT_EQ(server.errors(), "");
}

TEST(handshake, oldest_client_names_the_root) {
  server_process server;
  raw_connection client = server.connect();
  expect_answer(client, hello(100, "/nowhere/at all"),
                refusal("QRD_INIT=/nowhere/at all: Cannot access directory"));
  expect_service(client);
  expect_answer(client, bytes("CQRDDATA").text("/nowhere"),
                refusal("QRD_INIT=/nowhere: Cannot access directory"));
  // A path beyond the room of the field is refused in a text that still arrives.
  std::string endless(9999, 'x');
  expect_answer(client, bytes("CQRDDATA").text(endless), refusal(("QRD_INIT=" + endless).substr(0, 1024)));
  std::string longest = "/" + std::string(1022, 'x');
  expect_answer(client, bytes("CQRDDATA").text(longest),
                refusal(("QRD_INIT=" + longest + ": Cannot access directory").substr(0, 1024)));
  expect_service(client);
}

// A name that nobody knows is answered after half a second of silence; what came meanwhile is dropped.
TEST(unknown, is_refused_after_the_client_has_been_silent) {
  server_process server({.arguments = {"-debug"}});
  raw_connection client = server.connect();
  auto start = clock::now();
  expect_answer(client, bytes("chello"), refusal("Unrecognized request [chello]"));
  EXPECT_GE(clock::now() - start, 480ms);
  EXPECT_LT(clock::now() - start, 900ms);

  client.send(bytes("CNOTHING"));
  // Word by word: what comes together with a word is taken off the socket with it, and stays unread.
  for (std::int32_t word : {1, 2, 3}) {
    std::this_thread::sleep_for(100ms);
    client.send(bytes().i32(word));
  }
  std::string expected = refusal("Unrecognized request [CNOTHING]");
  EXPECT_EQ(client.receive(expected.size()), expected);
  expect_answer(client, bytes().i32(-1), refusal("Unrecognized request []"));
  expect_service(client);
  EXPECT_HAS(server.output(), "Cleaned 0 words on the socket.\n");
  EXPECT_HAS(server.output(), "Cleaned 3 words on the socket.\n");
}

// Arguments in the segment of the unknown name stay in the buffer; the refusal is written over them, and
// its text's length is then read as that of a name.
TEST(unknown, arguments_in_the_same_segment_are_taken_for_the_next_request) {
  server_process server;
  raw_connection client = server.connect();
  std::string expected = refusal("Unrecognized request [CNOPE]");
  client.send(bytes("CNOPE").repeat(200, '\1'));
  EXPECT_EQ(client.receive(expected.size()), expected);
  client.send(arch);
  EXPECT_EQ(client.receive_rest(), "");
  EXPECT_EQ(server.wait(), 1);
}

TEST(broken_connection, ends_the_server_with_one) {
  const std::string beginnings[] = {"", bytes("CARCH").raw("\1\2").str(), bytes().raw("\1").str(),
                                    bytes("1234567890").str(), bytes("CHELLO").i32(10000).str()};
  std::list<server_process> servers;
  for (const std::string& beginning : beginnings) {
    raw_connection client = servers.emplace_back().connect();
    client.send(beginning);
  }
  for (server_process& server : servers) EXPECT_EQ(server.wait(), 1);
}

TEST(connection, answers_at_once_and_keeps_alive) {
  server_process server;
  raw_connection client = server.connect();
  // 1024 bytes: 12 of the name, 1012 of the text with its length.
  const std::string path(1008 - std::string("QRD_INIT=: Cannot access directory").size(), 'p');
  const std::string request = bytes("CQRDDATA").text(path);
  const std::string expected = refusal("QRD_INIT=" + path + ": Cannot access directory");
  ASSERT_EQ(expected.size(), 1024U);
  auto start = clock::now();
  for (int i = 0; i < 20; ++i) expect_answer(client, request, expected);
  EXPECT_LT(clock::now() - start, 1s) << "an answer of a full buffer waited for the network";
}

TEST(debug, closed_standard_streams_do_not_become_sockets) {
  server_process server({.arguments = {"-c", "exec \"$0\" \"$@\" <&- >&- 2>&-", server_program, "-debug"},
                         .program = "/bin/sh"});
  raw_connection client = server.connect();
  expect_service(client);
  expect_service(client);
  for (const char* stream : {"0", "1", "2"})
    EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(server.pid()) + "/fd/" + stream), "/dev/null");
}

TEST(debug, shows_the_traffic_with_the_context) {
  server_process server({.arguments = {"-debug"}});
  {
    raw_connection client = server.connect();
    expect_answer(client, hello(1300030), bytes("SWELCOME").i32(1300030));
    expect_goodbye(client);
  }
  EXPECT_EQ(server.wait(), 0);
  std::string dashes(79, '-');
  std::string head = dashes + "\nQRDserver DEBUG(" + std::to_string(server.pid()) + "): ";
  std::string context =
      "qrd_init=\"None\"\ns=\"None\", d=\"None\", f=\"None\", v=\"None\"\ns=\"None\", i=\"-1\", u=\"m\"\n";
  std::string output = server.output();
  // The client's own port isn't known here.
  std::size_t from = output.find("Get a client connection from 127.0.0.1:");
  ASSERT_NE(from, std::string::npos) << output;
  EXPECT_EQ(output.substr(0, from), std::string(server_program) + " 15.03 (2015.3)\n" + head +
                                        "Setting debug mode to on.\nQRDserver Debug: New Socket Port: " +
                                        std::to_string(server.port()) +
                                        "\nQRDserver Debug: Wait for connection...\nQRDserver Debug: ");
  EXPECT_EQ(output.substr(output.find('\n', from) + 1),
            "\n" + head + "Received [001] [type=CHELLO    ]\n" + context + head +
                "Version checked (1300030).\n" + head + "Sending SWELCOME to client.\n" + context + "\n" +
                head + "Received [002] [type=CBYE BYE  ]\n" + context + head +
                "Sending SBYE BYE to client.\n" + context);
}

TEST(trace, of_a_whole_session) {
  temporary_directory directory;
  server_process server({.environment = traced("5", directory / "trace")});
  {
    raw_connection client = server.connect();
    expect_service(client);
    expect_goodbye(client);
  }
  EXPECT_EQ(server.wait(), 0);
  // Addresses, handles and the ports of others differ from run to run.
  std::string trace = without_times(read_file(directory / "trace"));
  for (const auto& [differs, shown] : {std::pair{"0x[0-9a-f]+", "*"},
                                       {"localhost,[0-9]+", "localhost,<control>"},
                                       {"connection from 127.0.0.1:[0-9]+", "connection from <client>"}})
    trace = std::regex_replace(trace, std::regex(differs), shown);
  const std::string port = std::to_string(server.port());
  const std::size_t init = trace.find("Function server_init(0,");
  ASSERT_NE(init, std::string::npos) << trace;
  EXPECT_EQ(trace.substr(trace.find('\n', init) + 1),
            "  Initializing Windows Socket\n  Initializing ONC/RPC\n  _qrd_listen_port(*=0,1,*)\n"
            "  Created Listening socket: 4\n  Binding socket to 0.0.0.0:0\n"
            "  Set socket to listen for 1 connections\n  Socket listening.\n"
            "  Debug: New Socket Port: " +
                port +
                "\n  Connecting to client control port...\n  _qrd_connect(localhost,<control>,*)\n"
                "  Write Int(" +
                port +
                ")\n  Flushing Write buffer (4 bytes)\n  Emptying Write buffer\n  _qrd_close_socket(*=5)\n"
                "  _qrd_wait_connect(4,*,1,0)\n  Debug: Wait for connection...\n"
                "  Debug: Get a client connection from <client>.\n  _qrd_close_socket(*=4)\n"
                "Function returned 0\nFlushing Read buffer (0 bytes)\nRead Str(CARCH)\n"
                "Debug: \nDebug: Received [001] [type=CARCH     ]\nFunction st_answer_arch\n"
                "  Debug: Sending Architecture\n  Read Int(1)\n  Debug: Sending SARCH to client.\n"
                "  Write Str(SARCH)\n  Write Int(1)\n  Flushing Write buffer (16 bytes)\n"
                "  Emptying Write buffer\nFunction returned 0\n"
                "Flushing Read buffer (16 bytes)\nRead Str(CBYE BYE)\n"
                "Debug: \nDebug: Received [002] [type=CBYE BYE  ]\nFunction server_answer_byebye\n"
                "  Debug: Sending SBYE BYE to client.\n  Write Str(SBYE BYE)\n"
                "  Flushing Write buffer (12 bytes)\n  Emptying Write buffer\nFunction returned 1\n"
                "Function server_close\nFunction returned\n");
}

}  // namespace
}  // namespace qrd::test
