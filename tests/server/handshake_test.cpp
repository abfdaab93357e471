// The conversation of the real server, byte by byte.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <list>
#include <thread>

#include "server/close.h"
#include "server/trace_text.h"
#include "support/bytes.h"
#include "support/programs.h"
#include "support/server_process.h"

namespace qrd::test {
namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

std::string hello(std::int32_t version, const std::string& path = "") {
  return bytes().text("CHELLO").text(path).i32(version).str();
}

std::string refusal(const std::string& text) {
  return bytes().text("SERROR").text(text).str();
}

std::string answer_to(raw_connection& client, const std::string& request, const std::string& expected) {
  return client.exchange(request, expected.size());
}

void expect_answer(raw_connection& client, const std::string& request, const std::string& expected) {
  EXPECT_EQ(answer_to(client, request, expected), expected);
}

const std::string arch = bytes().text("CARCH").i32(1).str();
const std::string arch_answer = bytes().text("SARCH").i32(1).str();
const std::string goodbye = bytes().text("CBYE BYE").str();
const std::string goodbye_answer = bytes().text("SBYE BYE").str();

TEST(handshake, whole_conversation) {
  server_process server;
  raw_connection client = server.connect();
  expect_answer(client, hello(1300030), bytes().text("SWELCOME").i32(1300030).str());
  expect_answer(client, hello(400001), bytes().text("SWELCOME").i32(1300030).str());
  expect_answer(client, hello(400000), bytes().text("SWELCOME").i32(412).str());
  expect_answer(client, hello(-1), bytes().text("SWELCOME").i32(412).str());
  expect_answer(client, arch, arch_answer);
  expect_answer(client, bytes().text("CNEWSESS").str(), bytes().text("SNOSESS").str());
  EXPECT_THROW(server.connect(), std::exception) << "only one client is ever accepted";

  auto start = clock::now();
  expect_answer(client, goodbye, goodbye_answer);
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
  expect_answer(client, arch, arch_answer);
  expect_answer(client, bytes().text("CQRDDATA").text("/nowhere").str(),
                refusal("QRD_INIT=/nowhere: Cannot access directory"));
  // A path beyond the room of the field is refused in a text that still arrives.
  std::string endless(9999, 'x');
  expect_answer(client, bytes().text("CQRDDATA").text(endless).str(),
                refusal(("QRD_INIT=" + endless).substr(0, 1024)));
  std::string longest = "/" + std::string(1022, 'x');
  expect_answer(client, bytes().text("CQRDDATA").text(longest).str(),
                refusal(("QRD_INIT=" + longest + ": Cannot access directory").substr(0, 1024)));
  expect_answer(client, arch, arch_answer);
}

TEST(handshake, all_request_names) {
  const char* const names[] = {
      "CHELLO",    "CNEWSESS",  "CQRDDATA",  "CSUPREQ",   "CARCH",     "CBYE BYE",  "CUNITMODE", "CDISTUSET",
      "CUNITCR",   "CSTUDYLST", "CSTUDYSET", "CSTUDYNEW", "CSTUDYDEL", "CDIRNEW",   "CDIRLST",   "CDIRXIST",
      "CDIRSET",   "CDIRDEL",   "CFILELST",  "CFILETLST", "CFILEXIST", "CFILESET",  "CFILEDEL",  "CFILEINFO",
      "CPFILENEW", "CPFILEAPP", "CGFILENEW", "CLFILENEW", "CLFILEAPP", "CLFILEAPC", "CLFILELNK", "CLFILECNT",
      "GRIDMODO",  "GRIDMODM",  "GRIDMODR",  "CSELSET",   "CCOMGET",   "CCOMSET",   "CVARLST",   "CVARTLST",
      "CVARXIST",  "CVARSET",   "CVARDEL",   "CINDSET",   "CINDASET",  "CVARINFO",  "CMACROIND", "CMACROALP",
      "CMACROADD", "CREADVARF", "CREADLINF", "CREADVARS", "CREADVARC", "CVARFNEW",  "CVARMNEW",  "CVARCNEW",
      "CVARCOMM",  "CWRITVARF", "CWRITLINF", "CWRITVARS", "CWRITVARC", "CVARUNIT",  "CVARLNAME", "CFAULTS",
      "CWRITFAUL", "CVDATVERS", "CVDATREAD", "CVDATWRIT", "CVDATEXIS", "CPOLYGONS", "CPOLYNEW",  "CWIREREAD",
      "CWIRENEW",  "CPALLST",   "CPALXIST",  "CPALWRIT",  "CPALREAD",  "CPALDEL",   "CSCALST",   "CSCAXIST",
      "CSCANEW",   "CSCAREAD",  "CSCADEL"};
  bytes expected;
  expected.text("SSUPREQ").i32(83);
  for (const char* name : names) expected.text(name);
  server_process server;
  raw_connection client = server.connect();
  expect_answer(client, bytes().text("CSUPREQ").str(), expected.str());
}

// A name that nobody knows is answered after half a second of silence; what came meanwhile is dropped.
TEST(unknown, is_refused_after_the_client_has_been_silent) {
  server_process server({.arguments = {"-debug"}});
  raw_connection client = server.connect();
  auto start = clock::now();
  expect_answer(client, bytes().text("chello").str(), refusal("Unrecognized request [chello]"));
  EXPECT_GE(clock::now() - start, 480ms);
  EXPECT_LT(clock::now() - start, 900ms);

  client.send(bytes().text("CNOTHING").str());
  // Word by word: what comes together with a word is taken off the socket with it, and stays unread.
  for (std::int32_t word : {1, 2, 3}) {
    std::this_thread::sleep_for(100ms);
    client.send(bytes().i32(word).str());
  }
  std::string expected = refusal("Unrecognized request [CNOTHING]");
  EXPECT_EQ(client.receive(expected.size()), expected);
  expect_answer(client, bytes().i32(-1).str(), refusal("Unrecognized request []"));
  expect_answer(client, arch, arch_answer);
  EXPECT_NE(server.output().find("Cleaned 0 words on the socket.\n"), std::string::npos);
  EXPECT_NE(server.output().find("Cleaned 3 words on the socket.\n"), std::string::npos);
}

// Arguments in the segment of the unknown name stay in the buffer; the refusal is written over them, and
// its text's length is then read as that of a name.
TEST(unknown, arguments_in_the_same_segment_are_taken_for_the_next_request) {
  server_process server;
  raw_connection client = server.connect();
  std::string expected = refusal("Unrecognized request [CNOPE]");
  client.send(bytes().text("CNOPE").repeat(200, '\1').str());
  EXPECT_EQ(client.receive(expected.size()), expected);
  client.send(arch);
  EXPECT_EQ(client.receive_rest(), "");
  EXPECT_EQ(server.wait(), 1);
}

TEST(broken_connection, ends_the_server_with_one) {
  const std::string beginnings[] = {"", bytes().text("CARCH").raw("\1\2").str(), bytes().raw("\1").str(),
                                    bytes().text("1234567890").str(),
                                    bytes().text("CHELLO").i32(10000).str()};
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
  std::string path(1004 - std::string("QRD_INIT=: Cannot access directory").size(), 'p');
  std::string request = bytes().text("CQRDDATA").text(path).str();
  std::string expected = refusal("QRD_INIT=" + path + ": Cannot access directory");
  ASSERT_EQ(expected.size(), 1020U);
  path += "1234";
  request = bytes().text("CQRDDATA").text(path).str();
  expected = refusal("QRD_INIT=" + path + ": Cannot access directory");
  ASSERT_EQ(expected.size(), 1024U);
  auto start = clock::now();
  for (int i = 0; i < 20; ++i) EXPECT_EQ(answer_to(client, request, expected), expected);
  EXPECT_LT(clock::now() - start, 1s) << "an answer of a full buffer waited for the network";
}

TEST(debug, closed_standard_streams_do_not_become_sockets) {
  server_process server({.arguments = {"-c", "exec \"$0\" \"$@\" <&- >&- 2>&-", server_program, "-debug"},
                         .program = "/bin/sh"});
  raw_connection client = server.connect();
  expect_answer(client, arch, arch_answer);
  expect_answer(client, arch, arch_answer);
  for (const char* stream : {"0", "1", "2"})
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(server.pid()) + "/fd/" + stream),
              "/dev/null");
}

TEST(debug, shows_the_traffic_with_the_context) {
  server_process server({.arguments = {"-debug"}});
  {
    raw_connection client = server.connect();
    expect_answer(client, hello(1300030), bytes().text("SWELCOME").i32(1300030).str());
    expect_answer(client, goodbye, goodbye_answer);
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

// Addresses and handles differ from run to run.
std::string without_numbers(const std::string& trace) {
  std::string result;
  for (std::size_t i = 0; i < trace.size(); ++i) {
    if (trace.compare(i, 2, "0x") == 0) {
      i = trace.find_first_not_of("0123456789abcdef", i + 2) - 1;
      result += '*';
    } else {
      result += trace[i];
    }
  }
  return result;
}

TEST(trace, of_a_whole_session) {
  temporary_directory directory;
  server_process server(
      {.environment = {{"QRD_SERVER_TRACE", "5"}, {"QRD_SERVER_TRACE_FILE", directory / "trace"}}});
  {
    raw_connection client = server.connect();
    expect_answer(client, arch, arch_answer);
    expect_answer(client, goodbye, goodbye_answer);
  }
  EXPECT_EQ(server.wait(), 0);
  std::string trace = without_numbers(without_times(read_file(directory / "trace")));
  std::string port = std::to_string(server.port());
  std::size_t init = trace.find("Function server_init");
  std::size_t client_port = trace.find("127.0.0.1:", trace.find("Get a client connection"));
  ASSERT_NE(client_port, std::string::npos) << trace;
  std::size_t end_of_line = trace.find('\n', client_port);
  std::size_t line_start = trace.find('(', init);
  EXPECT_EQ(trace.substr(line_start, trace.find(',', line_start) - line_start), "(0");
  EXPECT_EQ(trace.substr(trace.find('\n', init) + 1, client_port - trace.find('\n', init) - 1),
            "  Initializing Windows Socket\n"
            "  Initializing ONC/RPC\n"
            "  _qrd_listen_port(*=0,1,*)\n"
            "  Created Listening socket: 4\n"
            "  Binding socket to 0.0.0.0:0\n"
            "  Set socket to listen for 1 connections\n"
            "  Socket listening.\n"
            "  Debug: New Socket Port: " +
                port +
                "\n"
                "  Connecting to client control port...\n"
                "  _qrd_connect(localhost," +
                trace.substr(trace.find("localhost,") + 10,
                             trace.find(",*", trace.find("localhost,")) - trace.find("localhost,") - 10) +
                ",*)\n"
                "  Write Int(" +
                port +
                ")\n"
                "  Flushing Write buffer (4 bytes)\n"
                "  Emptying Write buffer\n"
                "  _qrd_close_socket(*=5)\n"
                "  _qrd_wait_connect(4,*,1,0)\n"
                "  Debug: Wait for connection...\n"
                "  Debug: Get a client connection from ");
  EXPECT_EQ(trace.substr(end_of_line + 1),
            "  _qrd_close_socket(*=4)\n"
            "Function returned 0\n"
            "Flushing Read buffer (0 bytes)\n"
            "Read Str(CARCH)\n"
            "Debug: \n"
            "Debug: Received [001] [type=CARCH     ]\n"
            "Function st_answer_arch\n"
            "  Debug: Sending Architecture\n"
            "  Read Int(1)\n"
            "  Debug: Sending SARCH to client.\n"
            "  Write Str(SARCH)\n"
            "  Write Int(1)\n"
            "  Flushing Write buffer (16 bytes)\n"
            "  Emptying Write buffer\n"
            "Function returned 0\n"
            "Flushing Read buffer (16 bytes)\n"
            "Read Str(CBYE BYE)\n"
            "Debug: \n"
            "Debug: Received [002] [type=CBYE BYE  ]\n"
            "Function server_answer_byebye\n"
            "  Debug: Sending SBYE BYE to client.\n"
            "  Write Str(SBYE BYE)\n"
            "  Flushing Write buffer (12 bytes)\n"
            "  Emptying Write buffer\n"
            "Function returned 1\n"
            "Function server_close\n"
            "Function returned\n");
}

}  // namespace
}  // namespace qrd::test
