// Servers that give each connection a process, on the one port that everybody knows; and the limits of
// sessions.
#include <arpa/inet.h>
#include <netinet/in.h>

#include "support/children.h"
#include "support/connections.h"
#include "support/database.h"
#include "support/packets.h"

namespace qrd::test {
namespace {

server_settings one_port(std::map<std::string, std::string> environment = {}) {
  environment["QRD_LISTEN_ADDRESS"] = "127.0.0.1";
  return {.arguments = {"-multi", "-oneport"}, .environment = std::move(environment)};
}

bool has_children(const server_process& parent, std::size_t count) {
  return becomes_true([&] { return children_of(parent.pid()).size() == count; });
}

// The TCP sockets of a process that listen, by their numbers in the system's table.
std::set<std::string> listening_sockets(pid_t process) {
  std::set<std::string> listening, result;
  std::istringstream table(read_file("/proc/net/tcp"));
  std::string line, field[10];
  for (std::getline(table, line); std::getline(table, line);) {
    std::istringstream fields(line);
    for (std::string& each : field) fields >> each;
    if (field[3] == "0A") listening.insert("socket:[" + field[9] + "]");
  }
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd"))
    if (const std::string target = fs::read_symlink(entry.path()); listening.contains(target))
      result.insert(target);
  return result;
}

TEST(one_port, gives_each_connection_a_process) {
  server_process parent(one_port());
  constexpr std::size_t count = 50;
  std::vector<raw_connection> clients;
  for (std::size_t i = 0; i < count; ++i) clients.push_back(parent.connect());
  for (raw_connection& client : clients) {
    expect_service(client);
    expect_answer(client, new_session, bytes("SNOSESS"));
  }
  const std::vector<pid_t> children = children_of(parent.pid());
  ASSERT_EQ(children.size(), count);
  EXPECT_EQ(listening_sockets(parent.pid()).size(), 1U);
  for (const pid_t child : children) {
    EXPECT_TRUE(listening_sockets(child).empty());
    EXPECT_EQ(open_files_of(child), strings{"socket"}) << "its client's alone";
    EXPECT_EQ(getsid(child), child);
  }
  EXPECT_EQ(open_files_of(parent.pid()), (strings{"socket", "anon_inode", "anon_inode"}));

  // They end in all ways; the parent has spoken with nobody and goes on.
  for (std::size_t i = 0; i + 1 < count; ++i) {
    if (i % 3 == 0) clients[i].send(goodbye);
    if (i % 3 == 1) clients[i].send("abc");
    clients[i].close();
  }
  EXPECT_TRUE(has_children(parent, 1)) << "a session or a zombie is left";
  raw_connection silent = parent.connect();
  raw_connection late = parent.connect();
  expect_service(late);
  // Its end is not theirs, nor that of whoever has got through to the port before.
  parent.send_signal(SIGSTOP);
  raw_connection queued[] = {parent.connect(), parent.connect()};
  parent.send_signal(SIGTERM);
  parent.send_signal(SIGCONT);
  EXPECT_EQ(parent.wait(), 1);
  for (raw_connection& client : queued) expect_service(client);
  expect_service(late);
  expect_service(clients.back());
  EXPECT_THROW(parent.connect(), std::exception);
}

TEST(one_port, tells_who_was_there) {
  struct {
    const char* how;
    std::function<void(raw_connection&, pid_t)> act;
  } const ends[] = {
      {"goodbye; 2 requests, 28 bytes in, 28 bytes out.\n",
       [](raw_connection& client, pid_t) { client.send(goodbye); }},
      {"connection closed; 1 requests, 19 bytes in, 16 bytes out.\n",
       [](raw_connection& client, pid_t) {
         client.send("abc");
         client.close();
       }},
      {"asked to end; 1 requests, 16 bytes in, 16 bytes out.\n",
       [](raw_connection&, pid_t session) { kill(session, SIGTERM); }},
  };
  server_process parent(one_port());
  for (const auto& [how, act] : ends) {
    raw_connection client = parent.connect();
    expect_service(client);
    const pid_t session = children_of(parent.pid()).at(0);
    sockaddr_in own{};
    socklen_t size = sizeof own;
    getsockname(client.descriptor(), reinterpret_cast<sockaddr*>(&own), &size);
    act(client, session);
    ASSERT_TRUE(has_children(parent, 0));
    const std::string name =
        "Session " + std::to_string(session) + " of 127.0.0.1:" + std::to_string(ntohs(own.sin_port));
    const std::string begin = name + " begins.\n" + name + " ends after ";
    const std::string said = parent.errors();
    const std::size_t at = said.find(begin);
    ASSERT_NE(at, std::string::npos) << said;
    const std::size_t rest = said.find(": ", at + begin.size()) + 2;
    EXPECT_EQ(said.substr(rest), how);
  }
  raw_connection client = parent.connect();
  expect_service(client);
  const pid_t session = children_of(parent.pid()).at(0);
  kill(session, SIGKILL);
  ASSERT_TRUE(has_children(parent, 0));
  EXPECT_HAS(parent.errors(), " was ended by signal 9.\n");
  EXPECT_EQ(parent.output(), std::string(server_program) + " 15.03 (2015.3)\n");

  server_settings settings = one_port();
  settings.arguments.emplace_back("-quiet");
  server_process quiet(settings);
  raw_connection last = quiet.connect();
  expect_goodbye(last);
  ASSERT_TRUE(has_children(quiet, 0));
  EXPECT_EQ(quiet.errors(), "");
}

TEST(one_port, waits_for_descriptors_and_outlives_a_session_that_cannot_start) {
  const temporary_directory directory;
  fs::copy_file(server_program, directory / "copy");
  server_settings settings = one_port();
  settings.program = directory / "copy";
  server_process parent(settings);
  rlimit before{};
  ASSERT_EQ(prlimit(parent.pid(), RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none = {5, before.rlim_max};
  ASSERT_EQ(prlimit(parent.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  raw_connection client = parent.connect();
  client.send(arch);
  EXPECT_TRUE(client.is_silent(300ms));
  ASSERT_EQ(prlimit(parent.pid(), RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_EQ(client.receive(arch_answer.size()), arch_answer);
  EXPECT_TRUE(parent.errors().starts_with(
      "QRDserver ERROR: accept() failed and is tried again: Too many open files\nSession "))
      << parent.errors();

  // A program that was replaced serves new clients, one that is away turns them down.
  fs::remove(directory / "copy");
  EXPECT_EQ(parent.connect().receive_rest(), "");
  fs::copy_file(server_program, directory / "copy");
  raw_connection next = parent.connect();
  expect_service(next);
}

TEST(one_port, goes_with_multi_alone) {
  const server_run run = run_server({.arguments = {"-oneport"}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "QRDserver ERROR: -oneport goes with -multi alone.\n");
}

// A client from another address of the loopback network.
raw_connection connect_from(const char* address_text, std::uint16_t port) {
  raw_connection client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  inet_pton(AF_INET, address_text, &address.sin_addr);
  EXPECT_EQ(bind(client.descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(connect(client.descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  return client;
}

// A session in either way of having them, if there is room; else nothing.
std::optional<raw_connection> session_of(const server_process& parent, const char* address) {
  raw_connection client = connect_from(address, parent.port());
  client.send(new_session);
  try {
    if (client.receive(12) == bytes("SNOSESS").str()) return client;
  } catch (const std::exception&) {
    return std::nullopt;
  }
  return connect_from(address, port_of(client.receive(4)));
}

TEST(limits, of_the_number_of_sessions_close_a_connection_at_once) {
  for (const strings& way : {strings{"-multi", "-oneport"}, {"-multi"}}) {
    server_settings settings = {.arguments = way, .environment = {{"QRD_MAX_SESSIONS", "2"}}};
    server_process parent(settings);
    std::optional<raw_connection> first = session_of(parent, "127.0.0.1");
    const std::optional<raw_connection> second = session_of(parent, "127.0.0.2");
    ASSERT_TRUE(first && second);
    expect_service(*first);
    EXPECT_FALSE(session_of(parent, "127.0.0.3"));
    EXPECT_HAS(parent.output(), ": QRD_MAX_SESSIONS is 2.\n");
    first->close();
    ASSERT_TRUE(has_children(parent, 1));
    std::optional<raw_connection> third = session_of(parent, "127.0.0.1");
    ASSERT_TRUE(third);
    expect_service(*third);

    settings.environment = {{"QRD_MAX_SESSIONS_PER_ADDRESS", "1"}};
    server_process other(settings);
    const std::optional<raw_connection> one = session_of(other, "127.0.0.1");
    EXPECT_FALSE(session_of(other, "127.0.0.1"));
    EXPECT_TRUE(session_of(other, "127.0.0.2"));
    EXPECT_HAS(other.output(), "No session for 127.0.0.1:");
    EXPECT_HAS(other.output(), ": QRD_MAX_SESSIONS_PER_ADDRESS is 1.\n");
  }
}

TEST(limits, of_silence_end_a_session_in_good_order) {
  const database copy;
  // Says what it has to say; returns when it is waited for.
  const auto open_study = [&](raw_connection& client) {
    client.exchange(bytes("CHELLO").text("").i32(1300030).str(), 16);
    client.exchange(bytes("CQRDDATA").text(copy.root().string()).str(), 8);
    client.exchange(bytes("CSTUDYSET").text("Holes").str(), 12);
  };
  const auto lock_count = [&] {
    std::size_t count = 0;
    for (const auto& [path, content] : image_of(copy.root())) count += path.ends_with("/LOCK");
    return count;
  };
  server_settings settings = one_port({{"QRD_IDLE_TIMEOUT", "1"}});
  settings.arguments.emplace_back("-quiet");
  server_process parent(settings);
  for (const char* begun : {"", "abc"}) {
    SCOPED_TRACE(*begun == '\0' ? "between requests" : "in a request");
    raw_connection client = parent.connect();
    open_study(client);
    EXPECT_EQ(lock_count(), 1U);
    // Whoever speaks now and then is not silent.
    for (const char letter : arch) {
      std::this_thread::sleep_for(90ms);
      client.send({&letter, 1});
    }
    EXPECT_EQ(client.receive(arch_answer.size()), arch_answer);
    const std::size_t told = parent.errors().size();
    client.send(begun);
    ASSERT_TRUE(has_children(parent, 0));
    EXPECT_EQ(lock_count(), 0U);
    const std::string line = parent.errors().substr(told);
    EXPECT_TRUE(line.starts_with("Session ") && line.find(" of 127.0.0.1:") != std::string::npos) << line;
    EXPECT_HAS(line, ": silent for 1 s; ") << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
  }

  // Who doesn't take the answer is silent too.
  socket_pair pair;
  const int small = 1;
  setsockopt(pair.far, SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
  pipe_pair pipes;
  fcntl(pipes.answers[1], F_SETPIPE_SZ, 4096);
  server_settings inherited = started_on(pair.far);
  inherited.environment = {{"QRD_IDLE_TIMEOUT", "1"}};
  server_process on_pair(inherited);
  inherited.streams = {pipes.requests[0], pipes.answers[1], -1};
  server_process on_pipes(inherited);
  raw_connection clients[] = {pair.take_near(), pipes.take_near()};
  for (int i = 0; i < 4; ++i, std::this_thread::sleep_for(50ms))
    for (raw_connection& client : clients) client.send(bytes("CSUPREQ").str());
  EXPECT_EQ(on_pair.wait(5s), 1);
  EXPECT_EQ(on_pipes.wait(5s), 1);
  EXPECT_HAS(on_pair.errors(), ": silent for 1 s; ") << on_pair.errors();
  EXPECT_HAS(on_pipes.errors(), " of a client behind pipes ends ");
  EXPECT_HAS(on_pipes.errors(), ": silent for 1 s; ") << on_pipes.errors();

  server_process multi(
      {.arguments = {"-multi"}, .environment = {{"QRD_IDLE_TIMEOUT", "1"}, {"QRD_CONNECT_TIMEOUT", "1"}}});
  std::optional<raw_connection> session = session_of(multi, "127.0.0.1");
  ASSERT_TRUE(session);
  expect_service(*session);
  ASSERT_TRUE(has_children(multi, 0));
  EXPECT_HAS(multi.output(), ": silent for 1 s; ") << multi.output();
  // One that never comes.
  raw_connection asking = multi.connect();
  asking.exchange(new_session, 16);
  ASSERT_TRUE(has_children(multi, 0));
  EXPECT_HAS(multi.output(), "ends: its client has not come within 1 s.\n");
  // The parent itself waits as it always did.
  EXPECT_TRUE(multi.is_running());
}

TEST(limits, are_numbers) {
  for (const char* name :
       {"QRD_MAX_SESSIONS", "QRD_MAX_SESSIONS_PER_ADDRESS", "QRD_IDLE_TIMEOUT", "QRD_CONNECT_TIMEOUT"})
    for (const char* value : {"", "many", "-1", "12s", "99999999999"}) {
      const server_run run = run_server({.arguments = {"-multi"}, .environment = {{name, value}}});
      EXPECT_EQ(run.status, 1);
      EXPECT_EQ(run.errors, std::string("QRDserver ERROR: ") + name + " is \"" + value +
                                "\", which is not a number from 0 to 2000000.\n");
    }
}

}  // namespace
}  // namespace qrd::test
